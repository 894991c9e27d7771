#include "platform/RandomGuid.h"

#include <random>

namespace vloxlib::platform {

Guid randomGuid() {
    std::random_device random;
    Guid guid{};
    guid.data1 = random();
    guid.data2 = static_cast<std::uint16_t>(random());
    guid.data3 = static_cast<std::uint16_t>((random() & 0x0FFFU) | 0x4000U);  // the version
    for (std::uint8_t& byte : guid.data4) {
        byte = static_cast<std::uint8_t>(random());
    }
    guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3FU) | 0x80U);  // the variant
    return guid;
}

}  // namespace vloxlib::platform
