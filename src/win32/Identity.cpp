#include "win32/Identity.h"

#include <Poco/UnicodeConverter.h>

#include <cstdio>

#include "platform/ProductName.h"
#include "platform/RandomGuid.h"
#include "platform/UserSetting.h"

namespace vloxlib {

namespace {

constexpr char kDeviceIdSetting[] = "deviceId";
constexpr std::size_t kLongestDeviceId = 64;
constexpr std::size_t kLongestOsName = 31;  // in UTF-16 units

// A GUID in the usual form, upper case.
std::string newDeviceId() {
    const platform::Guid guid = platform::randomGuid();
    const auto& rest = guid.data4;
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  static_cast<unsigned>(guid.data1), guid.data2, guid.data3, rest[0], rest[1], rest[2],
                  rest[3], rest[4], rest[5], rest[6], rest[7]);
    return text;
}

}  // namespace

std::string deviceId() {
    std::string stored = platform::readUserSetting(kDeviceIdSetting, kLongestDeviceId);
    if (!stored.empty()) {
        return stored;
    }
    const std::string made = newDeviceId();
    stored = platform::claimUserSetting(kDeviceIdSetting, made, kLongestDeviceId);
    return stored.empty() ? made : stored;
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
