#ifndef TESTS_WINDOWS_OWNREGISTRY_H
#define TESTS_WINDOWS_OWNREGISTRY_H

#include <windows.h>

#include <string>

namespace vlox_test {

/// Puts a key of the test's own, with nothing in it but what the test makes, in the place of a root key of
/// the registry, for this process. The key lies in the user's own part, where everybody may write.
class OwnRegistry {
public:
    /// @param name of the key, to share it with another process; it is removed at the end by its owner alone.
    OwnRegistry(HKEY root, std::wstring name, bool isOwner);
    ~OwnRegistry();
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;

    static std::wstring newName();

private:
    const HKEY m_root;
    const std::wstring m_name;
    const bool m_isOwner;
};

/// Stores a value, making its key where it is missing.
void storeValue(HKEY root, const std::wstring& key, const std::wstring& name, DWORD type,
                const std::string& bytes);

}  // namespace vlox_test

#endif
