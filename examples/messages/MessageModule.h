#ifndef MESSAGES_MESSAGEMODULE_H
#define MESSAGES_MESSAGEMODULE_H

#include <vloxlib/encrypt/EncryptBridge.h>
#include <vloxlib/http/HttpHelper.h>
#include <win32/VloxModuleAbstract.h>

#include <memory>
#include <string>

#include "MessageQueue.h"
#include "MessageResults.h"
#include "MessageSender.h"
#include "Messages.h"
#include "Report.h"

namespace messages {

/// The number under which commands reach this module; application and modules agree on it.
constexpr int kMessagesTarget = 1;

/// Ties queue, senders and results to one client, from its registration to its unregistration.
/// Threads: the library makes all calls one at a time.
class MessageModule : public vloxlib::VloxModuleAbstract {
public:
    MessageModule(std::string storeName, int senders, MessagesListener listener, void* context);

    void onModuleRegistered(__int64 clientId) override;
    void onModuleUnregistered() override;
    bool acceptsCommand(int target) override { return target == kMessagesTarget; }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override {}
    void onNotificationCmd(int, int, const std::string&) override {}
    void onBusinessCmd(int target, int command, const std::string& json) override;

private:
    void start(const rapidjson::Value& request);
    void store(const rapidjson::Value& request);
    bool tell(int event, const std::string& json) { return m_listener(m_context, event, json.c_str()); }

    const std::string m_storeName;
    const int m_senderCount;
    const MessagesListener m_listener;
    void* const m_context;

    Report m_report;
    // The registries of the library keep none of the two alive.
    std::shared_ptr<vloxlib::EncryptBridge> m_bridge;
    std::shared_ptr<vloxlib::HttpHelper> m_http;
    std::unique_ptr<MessageQueue> m_queue;
    std::unique_ptr<MessageResults> m_results;
    std::unique_ptr<MessageSender> m_sender;
};

}  // namespace messages

#endif
