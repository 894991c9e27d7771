#include "windows/OwnRegistry.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

namespace vlox_test {

OwnRegistry::OwnRegistry(HKEY root, std::wstring name, bool isOwner)
    : m_root(root), m_name(std::move(name)), m_isOwner(isOwner) {
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(m_root, key));
    RegCloseKey(key);
}

OwnRegistry::~OwnRegistry() {
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(m_root, nullptr));
    if (m_isOwner) {
        EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str()));
    }
}

std::wstring OwnRegistry::newName() {
    std::random_device random;
    return L"vlox_test_" + std::to_wstring(random()) + std::to_wstring(random());
}

void storeValue(HKEY root, const std::wstring& key, const std::wstring& name, DWORD type,
                const std::string& bytes) {
    // Else a terminator behind them would be stored with them.
    const std::string followed = bytes + "\xff\xff\xff";
    EXPECT_EQ(ERROR_SUCCESS, RegSetKeyValueW(root, key.c_str(), name.c_str(), type, followed.data(),
                                             static_cast<DWORD>(bytes.size())));
}

}  // namespace vlox_test
