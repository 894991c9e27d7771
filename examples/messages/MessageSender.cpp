#include "MessageSender.h"

#include <common/Json.h>
#include <vloxlib/ConfigKey.h>
#include <vloxlib/log/vloxLog.h>
#include <win32/VLOXBase.h>

#include <algorithm>
#include <utility>

#include "MessageQueue.h"

namespace messages {

using common::intOf;
using common::JsonObject;
using common::parseJson;
using common::textOf;

using vloxlib::BaseTask;
using vloxlib::VLOXBase;

namespace {

constexpr int kStoreConstraint = 19;
constexpr auto kTaskFailed = static_cast<vloxlib::GeneralTaskResult>(1);

std::chrono::milliseconds pauseAfter(int attempts) {
    return std::chrono::milliseconds(std::min(100 << std::min(attempts, 6), 5000));
}

const char* kindOf(vloxlib::TaskType type) {
    switch (static_cast<int>(type)) {
        case 32:
            return "card";
        case 64:
            return "location";
        case 128:
            return "notice";
        default:
            return "text";
    }
}

}  // namespace

MessageSender::MessageSender(__int64 clientId, const std::string& storeName, MessageResults& results,
                             Report& report, MessagesListener listener, void* context)
    : m_clientId(clientId),
      m_tasks(storeName),
      m_results(results),
      m_report(report),
      m_listener(listener),
      m_context(context) {}

MessageSender::~MessageSender() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_condition.notify_all();
    }
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void MessageSender::start(int threads) {
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this] { work(); });
    }
}

void MessageSender::wake() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_wakeUps;
    m_condition.notify_one();
}

void MessageSender::work() {
    while (true) {
        unsigned long long seen;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping) {
                return;
            }
            seen = m_wakeUps;
        }
        putBackDueTasks();
        const Clock::time_point begin = Clock::now();
        const std::shared_ptr<BaseTask> task = m_tasks.getTask(kMessageTypes);
        if (task) {
            m_report.addTime(Report::FETCH, Clock::now() - begin);
            send(*task);
        } else {
            waitForWork(seen);
        }
    }
}

void MessageSender::send(BaseTask& task) {
    const Clock::time_point begin = Clock::now();
    const Reply reply = request(task);
    m_report.addTime(Report::REQUEST, Clock::now() - begin);
    m_report.countRequest(reply.code);

    task.increaseExcuteTime();
    task.updateLastExcuteResult(reply.code == 0  ? vloxlib::TASK_RESULT_SUCCESS
                                : reply.answered ? vloxlib::TASK_RESULT_SUCCESS_ALTERNATE
                                                 : kTaskFailed);
    if (task.isQosAchieved()) {
        close(task, reply);
    } else {
        retryLater(task, reply.code);
    }
}

MessageSender::Reply MessageSender::request(const BaseTask& task) {
    const std::string url = VLOXBase::getUrl(m_clientId, vloxlib::CONFIG_AS_HOST, vloxlib::CONFIG_AS_PORT,
                                             "echo/message/${kind}");
    const std::string text = VLOXBase::doSyncHttpRequest(
        m_clientId, vloxlib::HTTP_METHOD_POST, vloxlib::HTTP_BUSINESS_AS, url, task.getSerializedData(),
        std::map<std::string, std::string>{{"kind", kindOf(task.getTaskType())}});
    const rapidjson::Document result = parseJson(text);
    Reply reply;
    reply.code = intOf(result, "returnCode", -199);
    reply.data = textOf(result, "data");
    // Behind a failure code the reply itself stands in data, when the service has sent one.
    const rapidjson::Document body = parseJson(reply.data);
    reply.answered = reply.code == 0 || (body.IsObject() && body.HasMember("code"));
    return reply;
}

void MessageSender::close(const BaseTask& task, const Reply& reply) {
    const std::string& id = task.getTaskId();
    const Clock::time_point begin = Clock::now();
    m_report.noteClosed(id);
    const int swept = m_results.sweepTask(id, reply.code, reply.data);
    if (swept == kStoreConstraint) {
        m_tasks.removeTask(id);  // its result stands already
    } else if (swept != 0) {
        retryLater(task, reply.code);
        return;
    }
    m_report.addTime(Report::CLOSE, Clock::now() - begin);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_attempts.erase(id);
    }
    m_results.publishNotify();
}

void MessageSender::retryLater(const BaseTask& task, int code) {
    const std::string& id = task.getTaskId();
    int attempts;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        attempts = ++m_attempts[id];
        m_due.emplace(Clock::now() + pauseAfter(attempts), id);
    }
    const std::string json = JsonObject().add("id", id).add("code", code).add("attempt", attempts).text();
    m_listener(m_context, MESSAGES_RETRY, json.c_str());
}

void MessageSender::putBackDueTasks() {
    std::vector<std::string> due;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto end = m_due.upper_bound(Clock::now());
        for (auto entry = m_due.begin(); entry != end; ++entry) {
            due.push_back(entry->second);
        }
        m_due.erase(m_due.begin(), end);
    }
    if (due.empty()) {
        return;
    }
    const bool putBack = m_tasks.updateTaskStatus(due, vloxlib::TASK_STATUS_WAITING) == 0;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const std::string& id : due) {
        if (!putBack) {
            m_due.emplace(Clock::now() + pauseAfter(6), id);
        }
    }
    ++m_wakeUps;
    m_condition.notify_all();
}

void MessageSender::waitForWork(unsigned long long seen) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto somethingToDo = [&] { return m_stopping || m_wakeUps != seen; };
    if (m_due.empty()) {
        m_condition.wait(lock, somethingToDo);
    } else {
        const Clock::time_point next = m_due.begin()->first;  // a copy: others change the map during the wait
        m_condition.wait_until(lock, next, somethingToDo);
    }
}

}  // namespace messages
