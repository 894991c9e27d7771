#ifndef VLOXLIB_INSTANCESHOLDER_H
#define VLOXLIB_INSTANCESHOLDER_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/UserInfo.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <string>

namespace vloxlib {

/// @brief Registry of shared objects by account, with weak references: an object lives as long as somebody
/// holds it.
///
/// A `T` is made from the text or the UserInfo that it was asked for by. The text forms take the empty text
/// for "uuId", the account of every unknown client; the UserInfo forms go by its account as it stands.
/// Threads: any. `T`'s constructor runs under the holder's mutex and must not come back to the same holder.
/// Errors: what `T`'s constructor throws passes through, and the registry stays as it was.
template <typename T>
class InstancesHolder : public Noncopyable {
public:
    /// @return the account's living object, or a new one
    std::shared_ptr<T> getInstance(const std::string& key) {
        const std::string& account = accountOf(key);
        return findOrMake(account, account);
    }
    std::shared_ptr<T> getInstance(const UserInfo& user) { return findOrMake(user.getVloxID(), user); }

    /// @brief Forgets the account. Who holds the object keeps it; the next getInstance() makes another.
    void releaseInstance(const std::string& key) { forget(accountOf(key)); }
    void releaseInstance(const UserInfo& user) { forget(user.getVloxID()); }

private:
    static const std::string& accountOf(const std::string& key) {
        static const auto& unknownAccount = *new std::string("uuId");
        return key.empty() ? unknownAccount : key;
    }

    template <typename Origin>
    std::shared_ptr<T> findOrMake(const std::string& account, const Origin& origin) {
        WindowsMutexGuard lock(m_mutex);
        const auto place = m_instances.find(account);
        if (place != m_instances.end()) {
            if (std::shared_ptr<T> living = place->second.lock()) {
                return living;
            }
        }
        auto made = std::make_shared<T>(origin);
        dropDead();
        m_instances[account] = made;
        return made;
    }

    // Whenever twice as many are kept as were alive the last time: a new one so costs the same, however many
    // come and go.
    void dropDead() {
        if (m_instances.size() < m_dropAt) {
            return;
        }
        for (auto place = m_instances.begin(); place != m_instances.end();) {
            place = place->second.expired() ? m_instances.erase(place) : std::next(place);
        }
        m_dropAt = 2 * m_instances.size() + kFewest;
    }

    void forget(const std::string& account) {
        WindowsMutexGuard lock(m_mutex);
        m_instances.erase(account);
    }

    static constexpr std::size_t kFewest = 16;

    WindowsMutex m_mutex;
    std::map<std::string, std::weak_ptr<T>> m_instances;  // guarded by m_mutex
    std::size_t m_dropAt = kFewest;                       // guarded by m_mutex
};

}  // namespace vloxlib

#endif
