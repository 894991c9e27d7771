#ifndef PLATFORM_RANDOMGUID_H
#define PLATFORM_RANDOMGUID_H

#include <array>
#include <cstdint>

namespace vloxlib::platform {

/// @brief A globally unique identifier, in the fields that its text form shows.
struct Guid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::array<std::uint8_t, 8> data4;
};

/// @brief A new random one (version 4).
Guid randomGuid();

}  // namespace vloxlib::platform

#endif
