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

Client::Client(const Options& options, const std::string& platform, MessagesListener listener,
               void* context) {
    const SdkLogParam log{kLogInfo, 0, options.directory.c_str()};
    if (initialize(log, options.directory.c_str(), 0) != 0) {
        throw std::runtime_error("the library doesn't start");
    }
    m_id = createVloxClient("vlox-messenger", "demo");
    configure(platform, options.crypto);
    m_module = createMessagesModule("messages", options.senders, listener, context);
    loadModule(m_id, m_module);
}

Client::~Client() {
    unloadModule(m_id, m_module);
    destroySDK();
}

void Client::command(MessagesCommand command, const std::string& json) const {
    commandMessages(m_id, command, json.c_str());
}

void Client::configure(const std::string& platform, const Crypto& crypto) const {
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
