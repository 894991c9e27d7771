#include "support/UserSettings.h"

#include <Poco/Environment.h>

#include "support/TempDir.h"

namespace vlox_test {

namespace {

constexpr char kHome[] = "XDG_CONFIG_HOME";
constexpr char kShared[] = "VLOX_TEST_SETTINGS";  // tells a death test's child where its parent's are

std::filesystem::path fileOf(const std::string& name) {
    return std::filesystem::path(Poco::Environment::get(kHome)) / "VLOX" / name;
}

}  // namespace

struct UserSettings::Place {
    const TempDir dir;
    const bool isOwn = Poco::Environment::get(kShared, "").empty();
};

UserSettings::UserSettings() : m_place(std::make_unique<Place>()) {
    if (m_place->isOwn) {
        Poco::Environment::set(kShared, m_place->dir.path("config"));
    }
    Poco::Environment::set(kHome, Poco::Environment::get(kShared));
}

UserSettings::~UserSettings() {
    if (m_place->isOwn) {
        Poco::Environment::set(kShared, "");
    }
}

void UserSettings::store(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(fileOf(name).parent_path());
    std::ofstream(fileOf(name), std::ios::binary) << bytes;
}

void UserSettings::clear() const { std::filesystem::remove_all(Poco::Environment::get(kHome)); }

void UserSettings::takeAway() const {
    m_place->dir.write("file", "in the way");
    Poco::Environment::set(kHome, m_place->dir.path("file"));
}

std::optional<std::string> storedSetting(const std::string& name) {
    std::ifstream file(fileOf(name), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return file.is_open() ? std::make_optional(bytes.str()) : std::nullopt;
}

}  // namespace vlox_test
