#include <quilcrypto/sm9/Word256.h>

namespace vloxlib::sm9 {

Word256 fromBigEndian(const std::uint8_t* bytes) {
    Word256 a{};
    for (std::size_t i = 0; i < 32; ++i) a[3 - i / 8] = (a[3 - i / 8] << 8) | bytes[i];
    return a;
}

void toBigEndian(const Word256& a, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < 32; ++i) {
        bytes[i] = static_cast<std::uint8_t>(a[3 - i / 8] >> (56 - i % 8 * 8));
    }
}

}  // namespace vloxlib::sm9
