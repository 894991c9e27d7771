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

std::optional<std::string> storedSetting(const std::string& name) {
    std::string bytes(1024, '\0');
    auto size = static_cast<DWORD>(bytes.size());
    if (RegGetValueW(HKEY_CURRENT_USER, kKey, wide(name).c_str(), RRF_RT_ANY | RRF_NOEXPAND, nullptr,
                     bytes.data(), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace vlox_test
