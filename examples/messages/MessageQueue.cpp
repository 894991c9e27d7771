#include "MessageQueue.h"

#include <common/Json.h>
#include <vloxlib/Context.h>
#include <vloxlib/encrypt/MD5.h>
#include <vloxlib/log/vloxLog.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "Messages.h"

namespace messages {

using common::intOf;
using common::JsonObject;
using common::textOf;
using common::toText;

using vloxlib::BaseResult;
using vloxlib::BaseTask;
using vloxlib::QoS;
using vloxlib::Sqlite3Functions;
using vloxlib::TaskPriority;
using vloxlib::TaskType;

namespace {

std::string dataDirectory() {
    return vloxlib::Context::getInstance()->getContext(vloxlib::CONTEXT_DATA_DIR, std::string("./"));
}

TaskType typeOf(const rapidjson::Value& message) {
    const std::string type = textOf(message, "type", "text");
    return static_cast<TaskType>(type == "card" ? 32 : type == "location" ? 64 : type == "notice" ? 128 : 16);
}

// 100 is the store's singleton: of several such tasks it would silently keep one.
TaskPriority priorityOf(const rapidjson::Value& message) {
    return static_cast<TaskPriority>(std::clamp(intOf(message, "priority", 1), 1, 99));
}

QoS qosOf(const rapidjson::Value& message) {
    const std::string quality = textOf(message, "qos", "forever");
    if (quality == "process") {
        return QoS::qosRetryProcess();
    }
    if (quality == "once") {
        return QoS::qosOnlyOnce(QoS::defaultNetworkTimeout);
    }
    if (quality == "timeout") {
        return QoS::qosRetryUtilTimeout(QoS::defaultServiceTimeout);
    }
    return QoS::qosRetryForever();
}

// The parameters of a service request are an object; any other value travels as its body.
std::string payloadOf(const rapidjson::Value& message) {
    return message.IsObject() ? toText(message) : JsonObject().add("body", message).text();
}

}  // namespace

MessageQueue::MessageQueue(const std::string& storeName)
    : m_path(dataDirectory() + "/" + storeName + ".db"),
      m_store(*Sqlite3Functions::getSqliteInstance(dataDirectory().c_str(), storeName)),
      m_tasks(storeName) {}

MessageQueue::LeftBehind MessageQueue::repair() {
    LeftBehind left;
    int before = 0;
    int after = 0;
    m_store.getMessageResultAmount(0, before);
    m_store.sweepTaskWithQosRetryProcess(MESSAGES_CODE_INTERRUPTED);
    m_store.resetTaskStatus();
    m_store.getMessageResultAmount(0, after);
    left.interrupted = after - before;

    std::vector<BaseTask> tasks;
    m_store.getAllTask(kMessageTypes, vloxlib::TASK_STATUS_WAITING, tasks);
    for (const BaseTask& task : tasks) {
        m_known.insert(task.getTaskId());
    }
    left.tasks = static_cast<int>(tasks.size());
    std::vector<std::shared_ptr<BaseResult>> results;
    m_store.getMessageResult(results, std::numeric_limits<int>::max());
    for (const auto& result : results) {
        m_known.insert(result->getResultId());
    }
    left.results = static_cast<int>(results.size());
    return left;
}

MessageQueue::Outcome MessageQueue::store(int line, const rapidjson::Value& message, std::string& id) {
    const std::string payload = payloadOf(message);
    id = nextId(payload);
    if (!m_known.insert(id).second) {
        return KNOWN;
    }
    const auto task = std::make_shared<BaseTask>(id, typeOf(message), qosOf(message), priorityOf(message));
    task->setSerializedData(payload);
    if (!m_tasks.storeBaseTask(task)) {
        m_known.erase(id);
        VLOX_LOG(4, "line %d can't be stored", line);
        return REFUSED;
    }
    return STORED;
}

std::string MessageQueue::nextId(const std::string& content) {
    const std::string digest = vloxlib::MD5::md5(content);
    return digest + "-" + std::to_string(++m_seen[digest]);
}

}  // namespace messages
