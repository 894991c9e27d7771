/// @file
/// @brief Choosing by a secret without a branch or an address that shows it, and cleansing afterwards.
#ifndef QUILCRYPTO_SM9_CONSTANTTIME_H
#define QUILCRYPTO_SM9_CONSTANTTIME_H

#include <openssl/crypto.h>
#include <quilcrypto/sm9/Field.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace vloxlib::sm9 {

/// @brief A value that is wiped from memory at the end of its scope.
template <typename T>
class Secret {
public:
    static_assert(std::is_trivially_copyable_v<T>, "wiping must be all that its end needs");
    Secret() = default;
    explicit Secret(const T& value) : m_value(value) {}
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() { OPENSSL_cleanse(&m_value, sizeof m_value); }

    T& operator*() { return m_value; }
    const T& operator*() const { return m_value; }
    T* operator->() { return &m_value; }
    const T* operator->() const { return &m_value; }

private:
    T m_value{};
};

/// @brief a where mask is all ones, b where it is zero.
template <typename T>
T select(std::uint64_t mask, const T& a, const T& b) {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) % sizeof(std::uint64_t) == 0, "made of words");
    std::array<std::uint64_t, sizeof(T) / sizeof(std::uint64_t)> wordsA;
    std::array<std::uint64_t, sizeof(T) / sizeof(std::uint64_t)> wordsB;
    std::memcpy(wordsA.data(), &a, sizeof(T));
    std::memcpy(wordsB.data(), &b, sizeof(T));
    for (std::size_t i = 0; i < wordsA.size(); ++i) wordsB[i] ^= mask & (wordsA[i] ^ wordsB[i]);
    T chosen;
    std::memcpy(static_cast<void*>(&chosen), wordsB.data(), sizeof(T));
    return chosen;
}

/// @brief table[index], with every entry read.
template <typename T, std::size_t Count>
T lookUp(const std::array<T, Count>& table, std::uint64_t index) {
    constexpr std::size_t kWords = sizeof(T) / sizeof(std::uint64_t);
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) % sizeof(std::uint64_t) == 0, "made of words");
    std::array<std::uint64_t, kWords> chosen{};
    for (std::uint64_t i = 0; i < Count; ++i) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&table[i]);
        const std::uint64_t differs = ((i ^ index) + 0xff) >> 8;  // for numbers below 256
        const std::uint64_t mask = maskFromBit(differs ^ 1);
        for (std::size_t j = 0; j < kWords; ++j) {
            std::uint64_t word;
            std::memcpy(&word, bytes + j * sizeof word, sizeof word);
            chosen[j] |= mask & word;
        }
    }
    T entry;
    std::memcpy(static_cast<void*>(&entry), chosen.data(), sizeof(T));
    return entry;
}

/// @brief A scalar k mod n as sum of d_i 16^i with odd d_i in -15..15, so that no step of a multiplication is
/// left out.
///
/// Only odd numbers can be written so: for even k the digits are those of n - k, and everything is negated
/// once more.
class SignedDigits {
public:
    static constexpr std::size_t kCount = 64;
    static constexpr std::size_t kTableSize = 8;  ///< entries 1, 3, .. 15 of what is multiplied

    explicit SignedDigits(const Word256& k) {
        std::uint64_t borrow = 0;
        m_negated = maskFromBit((k[0] & 1) ^ 1);
        m_odd = sm9::select(m_negated, subtract(GroupOrder::kModulus.value, k, borrow), k);
    }
    ~SignedDigits() { OPENSSL_cleanse(m_odd.data(), sizeof m_odd); }
    SignedDigits(const SignedDigits&) = delete;
    SignedDigits& operator=(const SignedDigits&) = delete;

    /// @brief The entry of the table for |d_i|.
    std::uint64_t index(std::size_t i) const { return ((fiveBits(i) ^ (negative(i) & 15)) >> 1) & 7; }
    /// @brief All ones where d_i is negative.
    std::uint64_t negative(std::size_t i) const { return maskFromBit((fiveBits(i) >> 4) ^ 1); }
    /// @brief All ones where the result has to be negated.
    std::uint64_t negated() const { return m_negated; }

private:
    // Five bits from 4i on with the lowest set, b: d_i = b - 16. For the highest digit the fifth bit counts
    // as set, since nothing borrows from it.
    std::uint64_t fiveBits(std::size_t i) const {
        const std::size_t bit = i * 4;
        std::uint64_t bits = m_odd[bit / 64] >> (bit % 64);
        if (i + 1 == kCount) {
            bits |= 16;
        } else if (bit % 64 == 60) {
            bits |= m_odd[bit / 64 + 1] << 4;
        }
        return (bits & 31) | 1;
    }
    Word256 m_odd;
    std::uint64_t m_negated;
};

}  // namespace vloxlib::sm9

#endif
