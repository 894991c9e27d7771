// Public keys that were used lately, shared by all who name the same one.
#ifndef QUILCRYPTO_KEYCACHE_H
#define QUILCRYPTO_KEYCACHE_H

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace vloxlib::quil {

// More than the servers of the own zone and of others; a key and its tables take 45 KB at most.
constexpr std::size_t kKeptKeys = 32;

// What is kept is what everybody may know: points, and tables that follow from them. Beyond the bound, the
// key that was longest not asked for goes; who holds it keeps it. Any thread.
template <typename Key>
class KeyCache {
public:
    explicit KeyCache(std::size_t most) : m_most(most) {}
    KeyCache(const KeyCache&) = delete;
    KeyCache& operator=(const KeyCache&) = delete;

    // The key of this name, or the one that make() gives as a shared pointer; null isn't kept.
    template <typename Make>
    std::shared_ptr<const Key> get(const std::string& name, const Make& make) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
            if (entry->first == name) {
                m_entries.splice(m_entries.begin(), m_entries, entry);
                return entry->second;
            }
        }
        std::shared_ptr<const Key> made = make();
        if (made) {
            m_entries.emplace_front(name, made);
            if (m_entries.size() > m_most) {
                m_entries.pop_back();
            }
        }
        return made;
    }

private:
    const std::size_t m_most;
    std::mutex m_mutex;
    std::list<std::pair<std::string, std::shared_ptr<const Key>>>
        m_entries;  // guarded by m_mutex; the latest first
};

}  // namespace vloxlib::quil

#endif
