#include "Client.h"

#include <common/Json.h>
#include <win32/vloxCommonlib.h>

#include <stdexcept>

namespace app {

using common::intOf;
using common::textOf;

namespace {

constexpr int kLogInfo = 2;
constexpr int kSm2 = 2;
constexpr int kSm9 = 4;

}  // namespace

Client::Client(const Options& options, const std::string& platform,
               const std::function<vloxlib::VloxModuleAbstract*()>& makeModule) {
    const SdkLogParam log{kLogInfo, 0, options.directory.c_str()};
    if (initialize(log, options.directory.c_str(), 0) != 0) {
        throw std::runtime_error("the library doesn't start");
    }
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
    const Crypto& crypto = options.crypto;
    const rapidjson::Document told = common::parseJson(platform);
    const auto text = [&](const char* name) {
        std::string found = textOf(told, name);
        if (found.empty()) {
            throw std::runtime_error(std::string("the platform's file has no ") + name);
        }
        return found;
    };
    setConfigStr(m_id, vloxlib::CONFIG_AS_HOST, text("host").c_str());
    setConfigInt(m_id, vloxlib::CONFIG_AS_PORT, intOf(told, "port", 0));
    if (options.chunkSize > 0) {
        setConfigInt(m_id, vloxlib::CONFIG_FILE_CHUNK_SIZE, options.chunkSize);
    }
    setConfigInt(m_id, vloxlib::CONFIG_ENCRYPT_POLICY, crypto.asymmetric);
    setConfigInt(m_id, vloxlib::CONFIG_SYM_ENCRYPT_TYPE, crypto.symmetric);
    switch (crypto.asymmetric) {
        case kSm2:
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, text("sm2PublicKey").c_str());
            break;
        case kSm9:
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, text("sm9Identity").c_str());
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PARAM_PATH, text("sm9ParameterFile").c_str());
            break;
        default:  // without any text here nothing would be sent
            setConfigStr(m_id, vloxlib::CONFIG_ENCRYPT_PUBKEY, "none");
            break;
    }
}

}  // namespace app
