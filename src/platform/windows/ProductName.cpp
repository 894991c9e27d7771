#include "platform/ProductName.h"

#include <cstring>

#include "platform/windows/RegistryKey.h"
#include "platform/windows/WideText.h"

namespace vloxlib::platform {

namespace {

constexpr std::size_t kLongestInBytes = 64;  // terminator included; a longer name isn't told

}  // namespace

std::string productName() {
    const RegistryKey system =
        openKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", KEY_READ);
    const std::string bytes = readValue(system, L"ProductName", kLongestInBytes).value_or("");
    std::wstring name(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(name.data(), bytes.data(), name.size() * sizeof(wchar_t));
    return fromWide(name.substr(0, name.find(L'\0')));
}

}  // namespace vloxlib::platform
