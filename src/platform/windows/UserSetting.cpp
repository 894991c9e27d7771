#include "platform/UserSetting.h"

#include "platform/windows/RegistryKey.h"
#include "platform/windows/WideText.h"

namespace vloxlib::platform {

namespace {

// Null when the registry refuses.
RegistryKey settings() {
    const RegistryKey software = openKey(HKEY_CURRENT_USER, L"Software", KEY_ALL_ACCESS);
    return software ? createKey(software.get(), L"VLOX", KEY_READ | KEY_WRITE) : nullptr;
}

}  // namespace

// The value holds a text's bytes as they are, without a terminator, although its type is that of wide text:
// so earlier versions of this library wrote it.
std::string readUserSetting(const std::string& name, std::size_t limitInBytes) {
    const std::string value = readValue(settings(), toWide(name).c_str(), limitInBytes).value_or("");
    return value.substr(0, value.find('\0'));
}

// For a text Windows looks at the unit behind it too, and stores that as well where it is a terminator.
void writeUserSetting(const std::string& name, const std::string& value) {
    const std::string followed = value + "\xff\xff\xff";
    RegSetValueExW(settings().get(), toWide(name).c_str(), 0, REG_SZ,
                   reinterpret_cast<const BYTE*>(followed.data()), static_cast<DWORD>(value.size()));
}

}  // namespace vloxlib::platform
