#ifndef TESTS_SUPPORT_USERSETTINGS_H
#define TESTS_SUPPORT_USERSETTINGS_H

#include <memory>
#include <optional>
#include <string>

namespace vlox_test {

/// Settings of a user of the test's own, who has none at first; for this process and its death tests.
class UserSettings {
public:
    UserSettings();
    ~UserSettings();
    UserSettings(const UserSettings&) = delete;
    UserSettings& operator=(const UserSettings&) = delete;

    /// Stores one as an earlier run of the library did.
    void store(const std::string& name, const std::string& bytes) const;
    void clear() const;
    /// From here on nothing can be read nor stored.
    void takeAway() const;

private:
    struct Place;
    std::unique_ptr<Place> m_place;
};

/// What this process's user has stored, byte by byte.
std::optional<std::string> storedSetting(const std::string& name);

}  // namespace vlox_test

#endif
