#ifndef VLOXLIB_LOG_FLUSHRULE_H
#define VLOXLIB_LOG_FLUSHRULE_H

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace vloxlib {

/// @brief When the log's worker flushes, and how long it waits for a line.
///
/// A burst is flushed every ten lines, and two seconds after the last line everything is; an idle worker
/// wakes every ten minutes only.
class FlushRule {
public:
    std::chrono::seconds wait() const { return m_wait; }
    /// @return whether to flush
    bool nothingCame() {
        const bool first = m_wait <= kShortWait;
        m_wait = kLongWait;
        return first;
    }
    void somethingCame() { m_wait = kShortWait; }
    /// Of so many lines that come now, the one behind which to flush; the tenth lines among them are flushed
    /// in one go. 0: none.
    std::size_t flushBehind(std::size_t count) const {
        return count - std::min(count, (m_sinceFlush + count) % kBatch);
    }
    bool isDue() const { return m_sinceFlush >= kBatch; }
    void line() { ++m_sinceFlush; }
    void flushed() { m_sinceFlush = 0; }

private:
    static constexpr std::chrono::seconds kShortWait{2};
    static constexpr std::chrono::seconds kLongWait{600};
    static constexpr std::size_t kBatch = 10;

    std::chrono::seconds m_wait = kShortWait;
    std::size_t m_sinceFlush = 0;
};

}  // namespace vloxlib

#endif
