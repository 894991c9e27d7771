#ifndef PLATFORM_WINDOWS_REGISTRYKEY_H
#define PLATFORM_WINDOWS_REGISTRYKEY_H

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace vloxlib::platform {

struct CloseKey {
    void operator()(HKEY key) const { RegCloseKey(key); }
};

// Null for a key that couldn't be opened; whatever is then tried with it fails.
using RegistryKey = std::unique_ptr<std::remove_pointer_t<HKEY>, CloseKey>;

RegistryKey openKey(HKEY parent, const wchar_t* name, REGSAM access);

// Makes the key where it is missing.
RegistryKey createKey(HKEY parent, const wchar_t* name, REGSAM access);

// A value's bytes, whatever its type says; nothing when there is none or it is longer than the limit.
std::optional<std::string> readValue(const RegistryKey& key, const wchar_t* name, std::size_t limitInBytes);

}  // namespace vloxlib::platform

#endif
