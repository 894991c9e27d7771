#include "support/ExportedNames.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace vlox_test {

// The loaded library's own table of names.
std::set<std::string> exportedNames(const std::string& library) {
    const std::wstring path = std::filesystem::u8path(library).wstring();
    const auto* const base = reinterpret_cast<const BYTE*>(LoadLibraryW(path.c_str()));
    std::set<std::string> names;
    if (base == nullptr) {
        ADD_FAILURE() << library << " can't be loaded: " << GetLastError();
        return names;
    }
    const auto& start = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + start.e_lfanew);
    const auto& place = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto& table = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
    const auto* const offsets = reinterpret_cast<const DWORD*>(base + table.AddressOfNames);
    for (DWORD i = 0; i < table.NumberOfNames; ++i) {
        names.insert(reinterpret_cast<const char*>(base + offsets[i]));
    }
    return names;
}

}  // namespace vlox_test
