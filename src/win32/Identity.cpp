#include "win32/Identity.h"

#include <Poco/UnicodeConverter.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <random>

#include "platform/ProductName.h"
#include "platform/UserSetting.h"

namespace vloxlib {

namespace {

constexpr char kDeviceIdSetting[] = "deviceId";
constexpr std::size_t kLongestDeviceId = 64;
constexpr std::size_t kLongestOsName = 31;  // in UTF-16 units

// A random GUID (version 4) in the usual form, upper case.
std::string newDeviceId() {
    std::random_device source;
    std::array<std::uint32_t, 4> random{};
    std::generate(random.begin(), random.end(), [&] { return source(); });
    const std::uint32_t version = (random[1] & 0x0FFFU) | 0x4000U;
    const std::uint32_t variant = (random[2] >> 16 & 0x3FFFU) | 0x8000U;
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%04X%08X", random[0], random[1] >> 16, version,
                  variant, random[2] & 0xFFFFU, random[3]);
    return text;
}

}  // namespace

std::string deviceId() {
    std::string id = platform::readUserSetting(kDeviceIdSetting, kLongestDeviceId);
    if (id.empty()) {
        id = newDeviceId();
        platform::writeUserSetting(kDeviceIdSetting, id);
    }
    return id;
}

std::string osName() {
    Poco::UTF16String units;
    Poco::UnicodeConverter::convert(platform::productName(), units);
    if (units.size() > kLongestOsName) {
        return "";
    }
    std::string name;
    for (const auto unit : units) {
        name += static_cast<char>(unit & 0xFF);
    }
    return name.substr(0, name.find('\0'));
}

}  // namespace vloxlib
