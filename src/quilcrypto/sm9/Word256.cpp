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

// Word by word: add a b[i], then the multiple of m that makes the lowest word zero, and drop that word. What
// is left stays below 2m.
Word256 montgomeryProductPortable(const Word256& a, const Word256& b, const Modulus& m) {
    std::uint64_t t[5] = {};
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < 4; ++j) t[j] = multiplyAdd(t[j], a[j], b[i], carry);
        std::uint64_t over = 0;
        const std::uint64_t top = addWithCarry(t[4], carry, over);

        const std::uint64_t factor = t[0] * m.negativeInverse;
        carry = 0;
        multiplyAdd(t[0], factor, m.value[0], carry);
        for (std::size_t j = 1; j < 4; ++j) t[j - 1] = multiplyAdd(t[j], factor, m.value[j], carry);
        std::uint64_t overAgain = 0;
        t[3] = addWithCarry(top, carry, overAgain);
        t[4] = over + overAgain;
    }
    const Word256 product{t[0], t[1], t[2], t[3]};
    std::uint64_t borrow = 0;
    const Word256 reduced = subtract(product, m.value, borrow);
    return select(maskFromBit(borrow & (t[4] ^ 1)), product, reduced);
}

}  // namespace vloxlib::sm9
