#ifndef VLOXLIB_HTTP_RECENTVALUES_H
#define VLOXLIB_HTTP_RECENTVALUES_H

#include <algorithm>
#include <cstddef>
#include <list>
#include <mutex>
#include <utility>

namespace vloxlib {

/// @brief Values that are costly to make, kept by the key that they were made from.
///
/// The limit counts values; the one that nobody has asked for the longest goes first. Keys are compared one
/// by one, so the limit is meant to be small. Threads: any; a value is made under the lock, and so only once.
/// Errors: what making a value throws passes through, and nothing is kept.
template <class Key, class Value>
class RecentValues {
public:
    explicit RecentValues(std::size_t limit) : m_limit(limit) {}

    /// @param make gives the value of a key that isn't there; must not come back to this object
    template <class Make>
    Value get(const Key& key, Make&& make) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                        [&](const auto& entry) { return entry.first == key; });
        if (found == m_entries.end()) {
            m_entries.emplace_front(key, make());
        } else {
            m_entries.splice(m_entries.begin(), m_entries, found);
        }
        if (m_entries.size() > m_limit) {
            m_entries.pop_back();
        }
        return m_entries.front().second;
    }

private:
    const std::size_t m_limit;
    std::mutex m_mutex;
    std::list<std::pair<Key, Value>> m_entries;  // guarded by m_mutex; latest first
};

}  // namespace vloxlib

#endif
