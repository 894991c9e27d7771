/// @file
/// @brief 256-bit integers as four 64-bit words, lowest first, and the arithmetic modulo an odd number of 256
/// bits that everything above is made of. No branch and no address depends on a value.
#ifndef QUILCRYPTO_SM9_WORD256_H
#define QUILCRYPTO_SM9_WORD256_H

#include <array>
#include <cstddef>
#include <cstdint>

// The carry chains are written out for the one system where compilers make a poor job of them.
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__)) && !defined(VLOX_SM9_PORTABLE)
#define VLOX_SM9_X86_64 1
#endif

namespace vloxlib::sm9 {

using Word256 = std::array<std::uint64_t, 4>;

/// @brief a + b + carry; carry (0 or 1) becomes what runs over.
constexpr std::uint64_t addWithCarry(std::uint64_t a, std::uint64_t b, std::uint64_t& carry) {
    const std::uint64_t partial = a + carry;
    const std::uint64_t sum = partial + b;
    carry = static_cast<std::uint64_t>(partial < carry) | static_cast<std::uint64_t>(sum < b);
    return sum;
}

/// @brief a - b - borrow; borrow (0 or 1) becomes what is missing.
constexpr std::uint64_t subtractWithBorrow(std::uint64_t a, std::uint64_t b, std::uint64_t& borrow) {
    const std::uint64_t partial = a - b;
    const std::uint64_t difference = partial - borrow;
    borrow = static_cast<std::uint64_t>(a < b) | static_cast<std::uint64_t>(partial < borrow);
    return difference;
}

/// @brief Whether this is being worked out by the compiler, where the forms for the processor can't be used.
constexpr bool isConstantEvaluated() { return __builtin_is_constant_evaluated(); }

/// @brief The low word of sum + a b + carry, which can't run over two words; carry becomes the high one.
#ifdef __SIZEOF_INT128__
__extension__ using Uint128 = unsigned __int128;

constexpr std::uint64_t multiplyAdd(std::uint64_t sum, std::uint64_t a, std::uint64_t b,
                                    std::uint64_t& carry) {
    const Uint128 total = static_cast<Uint128>(a) * b + sum + carry;
    carry = static_cast<std::uint64_t>(total >> 64);
    return static_cast<std::uint64_t>(total);
}
#else
constexpr std::uint64_t multiplyAdd(std::uint64_t sum, std::uint64_t a, std::uint64_t b,
                                    std::uint64_t& carry) {
    const std::uint64_t low = 0xffffffffU;
    const std::uint64_t ll = (a & low) * (b & low);
    const std::uint64_t lh = (a & low) * (b >> 32) + (ll >> 32);
    const std::uint64_t hl = (a >> 32) * (b & low) + (lh & low);
    std::uint64_t high = (a >> 32) * (b >> 32) + (lh >> 32) + (hl >> 32);
    std::uint64_t result = (hl << 32) | (ll & low);
    result += sum;
    high += static_cast<std::uint64_t>(result < sum);
    result += carry;
    high += static_cast<std::uint64_t>(result < carry);
    carry = high;
    return result;
}
#endif

/// @brief a + b, the carry told apart.
constexpr Word256 add(const Word256& a, const Word256& b, std::uint64_t& carry) {
    Word256 sum{};
    carry = 0;
    for (std::size_t i = 0; i < 4; ++i) sum[i] = addWithCarry(a[i], b[i], carry);
    return sum;
}

/// @brief a - b, the borrow told apart.
constexpr Word256 subtract(const Word256& a, const Word256& b, std::uint64_t& borrow) {
    Word256 difference{};
    borrow = 0;
    for (std::size_t i = 0; i < 4; ++i) difference[i] = subtractWithBorrow(a[i], b[i], borrow);
    return difference;
}

/// @brief a where mask is all ones, b where it is zero.
constexpr Word256 select(std::uint64_t mask, const Word256& a, const Word256& b) {
    Word256 chosen{};
    for (std::size_t i = 0; i < 4; ++i) chosen[i] = (a[i] & mask) | (b[i] & ~mask);
    return chosen;
}

constexpr bool isZero(const Word256& a) { return (a[0] | a[1] | a[2] | a[3]) == 0; }

constexpr bool isBelow(const Word256& a, const Word256& b) {
    std::uint64_t borrow = 0;
    subtract(a, b, borrow);
    return borrow != 0;
}

/// @brief The quotient, rounded down.
constexpr Word256 divide(const Word256& a, std::uint32_t divisor) {
    Word256 quotient{};
    std::uint64_t rest = 0;
    for (std::size_t half = 8; half-- > 0;) {
        const std::size_t shift = half % 2 * 32;
        rest = (rest << 32) | ((a[half / 2] >> shift) & 0xffffffffU);
        quotient[half / 2] |= rest / divisor << shift;
        rest %= divisor;
    }
    return quotient;
}

Word256 fromBigEndian(const std::uint8_t* bytes);         ///< reads 32 bytes
void toBigEndian(const Word256& a, std::uint8_t* bytes);  ///< writes 32 bytes

/// @brief An odd modulus above 2^255 with what the Montgomery product (R = 2^256) needs of it.
struct Modulus {
    Word256 value;
    std::uint64_t negativeInverse;  ///< -value^-1 mod 2^64
    Word256 r;                      ///< R mod value: one in Montgomery form
    Word256 rSquared;               ///< R^2 mod value
};

/// @brief The same number, in a way that the compiler can't see through.
inline std::uint64_t hidden(std::uint64_t bit) {
#if defined(__GNUC__) || defined(__clang__)
    __asm__("" : "+r"(bit));
    return bit;
#else
    volatile std::uint64_t copy = bit;
    return copy;
#endif
}

/// @brief All ones or zero from 1 or 0, in a way that the compiler can't turn back into a condition.
constexpr std::uint64_t maskFromBit(std::uint64_t bit) {
    return 0 - (isConstantEvaluated() ? bit : hidden(bit));
}

/// @brief (a + b) mod m for a, b < m.
constexpr Word256 addModPortable(const Word256& a, const Word256& b, const Word256& m) {
    std::uint64_t carry = 0;
    std::uint64_t borrow = 0;
    const Word256 sum = add(a, b, carry);
    const Word256 reduced = subtract(sum, m, borrow);
    return select(maskFromBit(borrow & (carry ^ 1)), sum, reduced);
}

/// @brief (a - b) mod m for a, b < m.
constexpr Word256 subtractModPortable(const Word256& a, const Word256& b, const Word256& m) {
    std::uint64_t borrow = 0;
    std::uint64_t carry = 0;
    const Word256 difference = subtract(a, b, borrow);
    return add(difference, select(maskFromBit(borrow), m, Word256{}), carry);
}

constexpr Modulus makeModulus(const Word256& value) {
    std::uint64_t inverse = 1;  // Newton: each step doubles the number of right low bits
    for (int step = 0; step < 6; ++step) inverse *= 2 - value[0] * inverse;
    std::uint64_t borrow = 0;
    const Word256 r = subtract(Word256{}, value, borrow);
    Word256 rSquared = r;
    for (int bit = 0; bit < 256; ++bit) {
        std::uint64_t carry = 0;
        const Word256 twice = add(rSquared, rSquared, carry);
        const Word256 reduced = subtract(twice, value, borrow);
        rSquared = carry < borrow ? twice : reduced;
    }
    return {value, 0 - inverse, r, rSquared};
}

/// @brief a b R^-1 mod m, below m, for any a and for b < m.
///
/// Word by word: add a b[i], then the multiple of m that makes the lowest word zero, and drop that word. What
/// is left stays below 2m.
constexpr Word256 montgomeryProductPortable(const Word256& a, const Word256& b, const Modulus& m) {
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

#ifdef VLOX_SM9_X86_64

void montgomeryProduct(Word256& result, const Word256& a, const Word256& b, const Modulus& m);
/// @brief The same as on processors without MULX.
void montgomeryProductByMul(Word256& result, const Word256& a, const Word256& b, const Modulus& m);

inline Word256 addMod(const Word256& a, const Word256& b, const Modulus& m) {
    std::uint64_t t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3];
    std::uint64_t s0, s1, s2, s3, over;
    __asm__(
        "xorl %k[over], %k[over]\n\t"
        "addq 0(%[b]), %[t0]\n\t"
        "adcq 8(%[b]), %[t1]\n\t"
        "adcq 16(%[b]), %[t2]\n\t"
        "adcq 24(%[b]), %[t3]\n\t"
        "adcq $0, %[over]\n\t"
        "movq %[t0], %[s0]\n\t"
        "movq %[t1], %[s1]\n\t"
        "movq %[t2], %[s2]\n\t"
        "movq %[t3], %[s3]\n\t"
        "subq 0(%[m]), %[t0]\n\t"
        "sbbq 8(%[m]), %[t1]\n\t"
        "sbbq 16(%[m]), %[t2]\n\t"
        "sbbq 24(%[m]), %[t3]\n\t"
        "sbbq $0, %[over]\n\t"
        "cmovcq %[s0], %[t0]\n\t"
        "cmovcq %[s1], %[t1]\n\t"
        "cmovcq %[s2], %[t2]\n\t"
        "cmovcq %[s3], %[t3]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [s0] "=&r"(s0), [s1] "=&r"(s1),
          [s2] "=&r"(s2), [s3] "=&r"(s3), [over] "=&r"(over)
        : [b] "r"(b.data()), [m] "r"(m.value.data()), "m"(b), "m"(m.value)
        : "cc");
    return {t0, t1, t2, t3};
}

inline Word256 subtractMod(const Word256& a, const Word256& b, const Modulus& m) {
    std::uint64_t t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3];
    std::uint64_t s0 = m.value[0], s1 = m.value[1], s2 = m.value[2], s3 = m.value[3], under;
    __asm__(
        "subq 0(%[b]), %[t0]\n\t"
        "sbbq 8(%[b]), %[t1]\n\t"
        "sbbq 16(%[b]), %[t2]\n\t"
        "sbbq 24(%[b]), %[t3]\n\t"
        "sbbq %[under], %[under]\n\t"
        "andq %[under], %[s0]\n\t"
        "andq %[under], %[s1]\n\t"
        "andq %[under], %[s2]\n\t"
        "andq %[under], %[s3]\n\t"
        "addq %[s0], %[t0]\n\t"
        "adcq %[s1], %[t1]\n\t"
        "adcq %[s2], %[t2]\n\t"
        "adcq %[s3], %[t3]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [s0] "+&r"(s0), [s1] "+&r"(s1),
          [s2] "+&r"(s2), [s3] "+&r"(s3), [under] "=&r"(under)
        : [b] "r"(b.data()), "m"(b)
        : "cc");
    return {t0, t1, t2, t3};
}

#else

inline void montgomeryProduct(Word256& result, const Word256& a, const Word256& b, const Modulus& m) {
    result = montgomeryProductPortable(a, b, m);
}
inline Word256 addMod(const Word256& a, const Word256& b, const Modulus& m) {
    return addModPortable(a, b, m.value);
}
inline Word256 subtractMod(const Word256& a, const Word256& b, const Modulus& m) {
    return subtractModPortable(a, b, m.value);
}

#endif

}  // namespace vloxlib::sm9

#endif
