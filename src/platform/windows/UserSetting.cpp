#include "platform/UserSetting.h"

#include "platform/windows/Handle.h"
#include "platform/windows/RegistryKey.h"
#include "platform/windows/WideText.h"

namespace vloxlib::platform {

namespace {

constexpr DWORD kLongestWait = 5000;  // for a process that was stopped in its midst

// Null when the registry refuses.
RegistryKey settings() {
    const RegistryKey software = openKey(HKEY_CURRENT_USER, L"Software", KEY_ALL_ACCESS);
    return software ? createKey(software.get(), L"VLOX", KEY_READ | KEY_WRITE) : nullptr;
}

// For a text Windows looks at the unit behind it too, and stores that as well where it is a terminator.
void store(const std::string& name, const std::string& value) {
    const std::string followed = value + "\xff\xff\xff";
    RegSetValueExW(settings().get(), toWide(name).c_str(), 0, REG_SZ,
                   reinterpret_cast<const BYTE*>(followed.data()), static_cast<DWORD>(value.size()));
}

// For the length of a scope the only one of the session's processes under this name, where the system lets
// it.
class OneAtATime {
public:
    explicit OneAtATime(const std::wstring& name) : m_mutex(CreateMutexW(nullptr, FALSE, name.c_str())) {
        if (m_mutex) {
            WaitForSingleObject(m_mutex.get(), kLongestWait);
        }
    }
    ~OneAtATime() {
        if (m_mutex) {
            ReleaseMutex(m_mutex.get());
        }
    }
    OneAtATime(const OneAtATime&) = delete;
    OneAtATime& operator=(const OneAtATime&) = delete;

private:
    const Handle m_mutex;
};

}  // namespace

// The value holds a text's bytes as they are, without a terminator, although its type is that of wide text:
// so earlier versions of this library wrote it.
std::string readUserSetting(const std::string& name, std::size_t limitInBytes) {
    const std::string value = readValue(settings(), toWide(name).c_str(), limitInBytes).value_or("");
    return value.substr(0, value.find('\0'));
}

std::string claimUserSetting(const std::string& name, const std::string& value, std::size_t limitInBytes) {
    const OneAtATime lock(L"Local\\VLOX-" + toWide(name));
    std::string stored = readUserSetting(name, limitInBytes);
    if (stored.empty()) {
        store(name, value);
        stored = readUserSetting(name, limitInBytes);
    }
    return stored;
}

}  // namespace vloxlib::platform
