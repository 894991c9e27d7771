#include "support/UserSettings.h"

#include <gtest/gtest.h>

#include "windows/OwnRegistry.h"

namespace vlox_test {

namespace {

constexpr wchar_t kShared[] = L"VLOX_TEST_SETTINGS";  // tells a death test's child where its parent's are
constexpr wchar_t kKey[] = L"Software\\VLOX";

std::wstring sharedName() {
    wchar_t name[64] = L"";
    GetEnvironmentVariableW(kShared, name, 64);
    return name;
}

std::wstring wide(const std::string& plain) { return {plain.begin(), plain.end()}; }

}  // namespace

struct UserSettings::Place {
    const bool isOwn = sharedName().empty();
    const std::wstring name = isOwn ? OwnRegistry::newName() : sharedName();
    std::unique_ptr<OwnRegistry> registry = std::make_unique<OwnRegistry>(HKEY_CURRENT_USER, name, isOwn);
};

UserSettings::UserSettings() : m_place(std::make_unique<Place>()) {
    SetEnvironmentVariableW(kShared, m_place->name.c_str());
    HKEY software = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, L"Software", 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &software, nullptr));
    RegCloseKey(software);
}

UserSettings::~UserSettings() {
    if (m_place->isOwn) {
        SetEnvironmentVariableW(kShared, nullptr);
    }
}

void UserSettings::store(const std::string& name, const std::string& bytes) const {
    storeValue(HKEY_CURRENT_USER, kKey, wide(name), REG_SZ, bytes);
}

void UserSettings::clear() const { RegDeleteTreeW(HKEY_CURRENT_USER, kKey); }

// No user is without this key but in a broken registry.
void UserSettings::takeAway() const { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software"); }

// Not RegGetValueW(), which adds the terminator that a text ought to have.
std::optional<std::string> storedSetting(const std::string& name) {
    std::string bytes(1024, '\0');
    auto size = static_cast<DWORD>(bytes.size());
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
    const LSTATUS read = RegQueryValueExW(key, wide(name).c_str(), nullptr, nullptr,
                                          reinterpret_cast<BYTE*>(bytes.data()), &size);
    RegCloseKey(key);
    bytes.resize(read == ERROR_SUCCESS ? size : 0);
    return read == ERROR_SUCCESS ? std::make_optional(bytes) : std::nullopt;
}

}  // namespace vlox_test
