#ifndef MESSAGES_MESSAGESENDER_H
#define MESSAGES_MESSAGESENDER_H

#include <vloxlib/Types.h>
#include <vloxlib/task/TaskDispatcher.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MessageResults.h"
#include "Report.h"

namespace messages {

/// Threads that fetch tasks, send each as a service request and close it with what came of it.
///
/// An answer of the service is a result, a refusal too: asking again would bring the same. What got no answer
/// is sent again after a growing pause, as long as the task's quality owes an attempt.
class MessageSender {
public:
    MessageSender(__int64 clientId, const std::string& storeName, MessageResults& results, Report& report,
                  MessagesListener listener, void* context);
    ~MessageSender();  ///< Stops, and waits for the requests under way.
    MessageSender(const MessageSender&) = delete;
    MessageSender& operator=(const MessageSender&) = delete;

    void start(int threads);
    void wake();  ///< A task was stored.

private:
    struct Reply {
        int code = 0;
        bool answered = false;
        std::string data;
    };

    void work();
    void send(vloxlib::BaseTask& task);
    Reply request(const vloxlib::BaseTask& task);
    void close(const vloxlib::BaseTask& task, const Reply& reply);
    void retryLater(const vloxlib::BaseTask& task, int code);
    void putBackDueTasks();
    void waitForWork(unsigned long long seen);

    const __int64 m_clientId;
    vloxlib::TaskDispatcher m_tasks;
    MessageResults& m_results;
    Report& m_report;
    const MessagesListener m_listener;
    void* const m_context;

    std::vector<std::thread> m_threads;
    std::mutex m_mutex;
    std::condition_variable m_condition;
    // guarded by m_mutex
    bool m_stopping = false;
    unsigned long long m_wakeUps = 0;
    std::map<std::string, int> m_attempts;                // of tasks that will be sent again
    std::multimap<Clock::time_point, std::string> m_due;  // when a task goes back into the queue
};

}  // namespace messages

#endif
