#include "platform/windows/RegistryKey.h"

namespace vloxlib::platform {

RegistryKey openKey(HKEY parent, const wchar_t* name, REGSAM access) {
    HKEY key = nullptr;
    return RegistryKey(RegOpenKeyExW(parent, name, 0, access, &key) == ERROR_SUCCESS ? key : nullptr);
}

RegistryKey createKey(HKEY parent, const wchar_t* name, REGSAM access) {
    HKEY key = nullptr;
    return RegistryKey(RegCreateKeyExW(parent, name, 0, nullptr, 0, access, nullptr, &key, nullptr) ==
                               ERROR_SUCCESS
                           ? key
                           : nullptr);
}

std::optional<std::string> readValue(const RegistryKey& key, const wchar_t* name, std::size_t limitInBytes) {
    std::string bytes(limitInBytes, '\0');
    auto size = static_cast<DWORD>(limitInBytes);
    if (RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace vloxlib::platform
