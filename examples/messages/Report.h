#ifndef MESSAGES_REPORT_H
#define MESSAGES_REPORT_H

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace messages {

using Clock = std::chrono::steady_clock;

/// Counts and times of one run. All operations from any thread.
class Report {
public:
    enum Stage { STORE, FETCH, REQUEST, CLOSE, DELIVER, STAGES };

    void countRequest(int code);
    void addTime(Stage stage, Clock::duration time);
    /// DELIVER is the time from here to noteDelivered() of the same id.
    void noteClosed(const std::string& id);
    void noteDelivered(const std::string& id);

    std::string toJson(const std::string& storePath) const;

private:
    mutable std::mutex m_mutex;
    // guarded by m_mutex
    long long m_requests = 0;
    std::map<int, long long> m_failures;
    std::vector<Clock::duration> m_times[STAGES];
    std::map<std::string, Clock::time_point> m_closed;
};

}  // namespace messages

#endif
