#ifndef FILES_PROGRESS_H
#define FILES_PROGRESS_H

#include <vloxlib/Types.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

namespace files {

using vloxlib::int64;

/// How far one phase of a file is, told now and then. All operations from any thread.
class Progress {
public:
    using Tell = std::function<void(const std::string& phase, int64 done, int64 total)>;

    Progress(Tell tell, const std::string& phase, int64 done, int64 total)
        : m_tell(std::move(tell)), m_phase(phase), m_total(total), m_done(done) {
        add(0);
    }
    void add(int64 bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_done += bytes;
        const auto now = std::chrono::steady_clock::now();
        if (now >= m_next || m_done == m_total) {
            m_next = now + std::chrono::milliseconds(50);
            m_tell(m_phase, m_done, m_total);
        }
    }
    /// Tells where it has come to, however little time has passed.
    void tell() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tell(m_phase, m_done, m_total);
    }

private:
    const Tell m_tell;
    const std::string m_phase;
    const int64 m_total;
    std::mutex m_mutex;
    // guarded by m_mutex
    int64 m_done;
    std::chrono::steady_clock::time_point m_next{};
};

}  // namespace files

#endif
