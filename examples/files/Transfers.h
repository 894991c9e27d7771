#ifndef FILES_TRANSFERS_H
#define FILES_TRANSFERS_H

#include <vloxlib/http/HttpClient.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

namespace files {

/// The exchanges that are under way, so that all can be ended at once. All operations from any thread.
class Transfers {
public:
    /// Runs an exchange that has its file set. -109 once ended.
    int run(vloxlib::HttpClient& client, long* status);
    /// Ends all exchanges and waits, now and from now on.
    void stop();
    bool stopped() const;
    void wait(std::chrono::milliseconds pause);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    // guarded by m_mutex
    bool m_stopped = false;
    std::set<vloxlib::HttpClient*> m_running;
};

}  // namespace files

#endif
