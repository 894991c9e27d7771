#include "Client.h"

#include <common/Json.h>
#include <vloxlib/dnscache/DNSCache.h>
#include <vloxlib/http/HttpTypes.h>
#include <vloxlib/utility/LoggedContent.h>
#include <win32/vloxCommonlib.h>

#include <stdexcept>

namespace app {

using common::intOf;
using common::textOf;

namespace {

constexpr int kLogInfo = 2;
constexpr int kSm2 = 2;
constexpr int kSm9 = 4;

std::string needText(const rapidjson::Value& told, const char* name) {
    std::string found = textOf(told, name);
    if (found.empty()) {
        throw std::runtime_error(std::string("the platform's file has no ") + name);
    }
    return found;
}

const rapidjson::Value& memberOf(const rapidjson::Value& told, const char* name) {
    if (!told.IsObject() || !told.HasMember(name)) {
        throw std::runtime_error(std::string("the platform's file has no ") + name);
    }
    return told[name];
}

}  // namespace

Client::Client(const Options& options, const std::string& platform,
               const std::function<vloxlib::VloxModuleAbstract*()>& makeModule) {
    const SdkLogParam log{kLogInfo, 0, options.directory.c_str()};
    if (initialize(log, options.directory.c_str(), 0) != 0) {
        throw std::runtime_error("the library doesn't start");
    }
    // A service stays in reach while one of its machines lives.
    vloxlib::DNSCache::getInstance()->useAllAddresses(true);
    vloxlib::setContentLogged(false);  // a log goes to support, what users write doesn't
    m_id = createVloxClient("vlox-messenger", "demo");
    configure(platform, options);
    m_module = makeModule();
    loadModule(m_id, m_module);
}

Client::~Client() {
    unloadModule(m_id, m_module);
    destroySDK();
}

void Client::configure(const std::string& platform, const Options& options) const {
    const rapidjson::Document told = common::parseJson(platform);
    setConfigStr(m_id, vloxlib::CONFIG_AS_HOST, needText(told, "host").c_str());
    if (options.transport == Transport::HTTP) {
        setConfigInt(m_id, vloxlib::CONFIG_AS_PORT, intOf(told, "port", 0));
    } else {
        configureTls(memberOf(told, "tls"), options.transport);
    }
    if (options.chunkSize > 0) {
        setConfigInt(m_id, vloxlib::CONFIG_FILE_CHUNK_SIZE, options.chunkSize);
    }
    configureCrypto(told, options.crypto);
}

// The platform's certificate is by an authority of the customer's own, which no system knows.
void Client::configureTls(const rapidjson::Value& tls, Transport transport) const {
    const bool mutual = transport == Transport::HTTPS_MUTUAL;
    const rapidjson::Value& ports = memberOf(tls, "ports");
    setConfigInt(m_id, vloxlib::CONFIG_AS_PORT, intOf(ports, mutual ? "clientCertificate" : "good", 0));
    setConfigInt(m_id, vloxlib::CONFIG_WEB_REQUEST_MODE,
                 mutual ? vloxlib::SECURITY_POLICY_MUTUAL : vloxlib::SECURITY_POLICY_SERVER_CA);
    setConfigStr(m_id, vloxlib::CONFIG_CA_CERT_PATH, needText(tls, "authorityFile").c_str());
    if (mutual) {
        setConfigStr(m_id, vloxlib::CONFIG_CLIENT_CERT_PATH, needText(tls, "clientFile").c_str());
        setConfigStr(m_id, vloxlib::CONFIG_KEY_PASSWORD, needText(tls, "clientKeyPassword").c_str());
    }
}

void Client::configureCrypto(const rapidjson::Value& told, const Crypto& crypto) const {
    setConfigInt(m_id, vloxlib::CONFIG_ENCRYPT_POLICY, crypto.asymmetric);
    setConfigInt(m_id, vloxlib::CONFIG_SYM_ENCRYPT_TYPE, crypto.symmetric);
    switch (crypto.asymmetric) {
        case kSm2:
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, needText(told, "sm2PublicKey").c_str());
            break;
        case kSm9:
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, needText(told, "sm9Identity").c_str());
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PARAM_PATH,
                         needText(told, "sm9ParameterFile").c_str());
            break;
        default:  // without any text here nothing would be sent
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, "none");
            break;
    }
}

}  // namespace app
