#ifndef VLOXLIB_CONFIGMANAGER_H
#define VLOXLIB_CONFIGMANAGER_H

#include <vloxlib/ConfigKey.h>
#include <vloxlib/Export.h>
#include <vloxlib/InstancesHolder.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <map>
#include <memory>
#include <string>

namespace vloxlib {

/// @brief The settings of one account, held as text in memory; every run starts from the defaults of
/// ConfigKey.h.
///
/// Integers are kept as decimal text, so that either form reads what the other wrote.
/// Threads: any. Ownership: lives as long as somebody holds it, first of all the client's row in VLOXBase.
/// Errors: none are reported. A key of 108 or above is ignored on writing; an absent key gives the caller's
/// default.
class VLOX_API ConfigManager : public Noncopyable {
public:
    /// @brief The account's settings, made on first need; the empty text means the account "uuId".
    static std::shared_ptr<ConfigManager> getInstance(const std::string& key);
    /// @brief Forgets the account: the next getInstance() makes an object with the defaults.
    static void releaseInstance(const std::string& key);

    explicit ConfigManager(const std::string& vloxId);
    ~ConfigManager() override;

    void setConfig(_ConfigKey key, const std::string& value);
    void setConfig(_ConfigKey key, int value);
    /// @return the number at the start of the key's text (0 when it begins otherwise), the default for an
    /// absent key
    int getConfig(_ConfigKey key, const int& defaultValue) const;
    std::string getConfig(_ConfigKey key, const std::string& defaultValue) const;
    const std::string& getVloxId() const;

private:
    static InstancesHolder<ConfigManager>& s_holder;  // never destroyed

    WindowsMutex m_mutex;
    std::map<_ConfigKey, std::string> m_table;  // guarded by m_mutex
    const std::string m_vloxId;
};

}  // namespace vloxlib

#endif
