#include "MessageModule.h"

#include <common/Json.h>
#include <vloxlib/Context.h>
#include <vloxlib/database/Sqlite3Functions.h>
#include <vloxlib/log/vloxLog.h>
#include <win32/VLOXBase.h>

#include <utility>

namespace messages {

using common::intOf;
using common::JsonObject;
using common::parseJson;

using vloxlib::VLOXBase;

MessageModule::MessageModule(std::string storeName, int senders, MessagesListener listener, void* context)
    : m_storeName(std::move(storeName)), m_senderCount(senders), m_listener(listener), m_context(context) {}

void MessageModule::onModuleRegistered(__int64 clientId) {
    const vloxlib::UserInfo user = VLOXBase::getUserInfo(clientId);
    m_bridge = vloxlib::EncryptBridge::getInstance(user.getVloxID());
    if (m_bridge->initial() != 0) {  // the session key, by the client's configuration
        VLOX_LOG(4, "no session key could be made: nothing will be sent");
    }
    m_http = vloxlib::HttpHelper::getInstance(user);
    m_queue = std::make_unique<MessageQueue>(m_storeName);
    m_results = std::make_unique<MessageResults>(m_storeName, m_report, m_listener, m_context);
    m_sender =
        std::make_unique<MessageSender>(clientId, m_storeName, *m_results, m_report, m_listener, m_context);
}

// The other way round: first who works, then who delivers, then the store beneath them.
void MessageModule::onModuleUnregistered() {
    m_sender.reset();
    if (m_results) {
        m_results->stop();
        m_results->join();
        m_results.reset();
    }
    if (m_queue) {
        tell(MESSAGES_REPORTED, m_report.toJson(m_queue->storePath()));
        m_queue.reset();
    }
    const std::string directory =
        vloxlib::Context::getInstance()->getContext(vloxlib::CONTEXT_DATA_DIR, std::string("./"));
    vloxlib::Sqlite3Functions::releaseSqliteInstance(directory.c_str(), m_storeName);
    m_http.reset();
    m_bridge.reset();
}

void MessageModule::onBusinessCmd(int, int command, const std::string& json) {
    const rapidjson::Document request = parseJson(json);
    switch (command) {
        case MESSAGES_START:
            start(request);
            break;
        case MESSAGES_SEND:
            store(request);
            break;
        default:
            break;
    }
}

void MessageModule::start(const rapidjson::Value& request) {
    if (request.IsObject() && request.HasMember("delivered") && request["delivered"].IsArray()) {
        for (const auto& id : request["delivered"].GetArray()) {
            if (id.IsString()) {
                m_queue->markKnown(id.GetString());
            }
        }
    }
    const MessageQueue::LeftBehind left = m_queue->repair();
    tell(MESSAGES_STARTED, JsonObject()
                               .add("tasks", left.tasks)
                               .add("results", left.results)
                               .add("interrupted", left.interrupted)
                               .text());
    m_results->start();
    m_sender->start(m_senderCount);
}

void MessageModule::store(const rapidjson::Value& request) {
    if (!request.IsObject() || !request.HasMember("message")) {
        return;
    }
    const int line = intOf(request, "line", 0);
    std::string id;
    const Clock::time_point begin = Clock::now();
    const MessageQueue::Outcome outcome = m_queue->store(line, request["message"], id);
    if (outcome == MessageQueue::STORED) {
        m_report.addTime(Report::STORE, Clock::now() - begin);
        m_sender->wake();
    }
    const int event = outcome == MessageQueue::STORED  ? MESSAGES_STORED
                      : outcome == MessageQueue::KNOWN ? MESSAGES_KNOWN
                                                       : MESSAGES_REFUSED;
    tell(event, JsonObject().add("line", line).add("id", id).text());
}

}  // namespace messages

vloxlib::VloxModuleAbstract* createMessagesModule(const char* storeName, int senders,
                                                  MessagesListener listener, void* context) {
    return new messages::MessageModule(storeName, senders, listener, context);
}

void commandMessages(__int64 clientId, int command, const char* json) {
    vloxlib::VLOXBase::dispatchBusinessCmd(clientId, messages::kMessagesTarget, command, json);
}
