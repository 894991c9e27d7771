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

/// @brief table[index], with each of the Count entries read.
template <std::size_t Count, typename T>
T lookUp(const T* table, std::uint64_t index) {
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

/// @brief k, or n - k for an even k, which negated (all ones or zero) tells; n is odd.
inline Word256 oddForm(const Word256& k, const Modulus& n, std::uint64_t& negated) {
    std::uint64_t borrow = 0;
    negated = maskFromBit((k[0] & 1) ^ 1);
    return select(negated, subtract(n.value, k, borrow), k);
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

    SignedDigits(const Word256& k, const Modulus& n) : m_odd(oddForm(k, n, m_negated)) {}

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
    std::uint64_t m_negated;
    Word256 m_odd;  // below m_negated: its initialiser writes it
};

/// @brief A scalar k mod n as sum of s_i 2^i with s_i = 1 or -1, read as a comb, for what is multiplied
/// often.
///
/// The 260 signs are read in columns of five, 52 places apart. With four tables of thirteen rounds, column 13
/// b + c is worth 2^c times a sum of the five points 2^(52 t + 13 b) P with their signs, t in 0..4. Such sums
/// stand in table b, 16 of them: those in which the highest point has a plus. So 13 rounds of a doubling and
/// four additions do; with more tables the rounds are fewer.
template <std::size_t Tables>
class CombDigits {
public:
    static constexpr std::size_t kTeeth = 5;
    static constexpr std::size_t kTables = Tables;
    static constexpr std::size_t kRounds = 52 / Tables;
    static constexpr std::size_t kTableSize = std::size_t{1} << (kTeeth - 1);
    static constexpr std::size_t kEntries = kTables * kTableSize;
    static constexpr std::size_t kPoints =
        kTeeth * kTables;  ///< 2^(kRounds i) P, which the entries are sums of
    static_assert(kRounds * kTables == 52, "all columns are to be read");

    CombDigits(const Word256& k, const Modulus& n) {
        const Word256 odd = oddForm(k, n, m_negated);
        // for an odd number s_i = 2 (bit i + 1) - 1, and the highest sign is a plus
        for (std::size_t i = 0; i < 4; ++i) m_signs[i] = (odd[i] >> 1) | (i < 3 ? odd[i + 1] << 63 : 0);
        m_signs[4] = std::uint64_t{1} << ((kPoints * kRounds - 1) % 64);
    }

    /// @brief The entry of the table for a column, up to its sign.
    std::uint64_t index(std::size_t table, std::size_t round) const {
        const std::uint64_t flip = negative(table, round);
        std::uint64_t bits = 0;
        for (std::size_t tooth = 0; tooth + 1 < kTeeth; ++tooth) bits |= plus(tooth, table, round) << tooth;
        return (bits ^ flip) & (kTableSize - 1);
    }
    /// @brief All ones where the entry has to be negated.
    std::uint64_t negative(std::size_t table, std::size_t round) const {
        return maskFromBit(plus(kTeeth - 1, table, round) ^ 1);
    }
    /// @brief All ones where the result has to be negated.
    std::uint64_t negated() const { return m_negated; }

private:
    std::uint64_t plus(std::size_t tooth, std::size_t table, std::size_t round) const {
        const std::size_t place = (tooth * kTables + table) * kRounds + round;
        return (m_signs[place / 64] >> (place % 64)) & 1;
    }
    std::uint64_t m_negated = 0;
    std::array<std::uint64_t, 5> m_signs{};
};

/// @brief Fills Comb::kPoints multiples of the base by powers of two.
template <typename Comb, typename Element, typename Points>
constexpr void fillCombPoints(const Element& base, Points& points) {
    points[0] = base;
    for (std::size_t i = 1; i < Comb::kPoints; ++i) {
        points[i] = points[i - 1];
        for (std::size_t round = 0; round < Comb::kRounds; ++round) points[i] = points[i].doubled();
    }
}

/// @brief Fills the tables of a comb, one behind the other, from these. Elements are added, subtracted and
/// doubled.
template <typename Comb, typename Points, typename Entries>
constexpr void fillComb(const Points& points, Entries& entries) {
    constexpr std::size_t kTop = Comb::kTeeth - 1;
    for (std::size_t table = 0; table < Comb::kTables; ++table) {
        const std::size_t first = table * Comb::kTableSize;
        entries[first] = points[kTop * Comb::kTables + table];
        for (std::size_t tooth = 0; tooth < kTop; ++tooth) {
            entries[first] = entries[first] - points[tooth * Comb::kTables + table];
        }
        for (std::size_t tooth = 0; tooth < kTop; ++tooth) {  // a minus becomes a plus
            const auto twice = points[tooth * Comb::kTables + table].doubled();
            const std::size_t half = std::size_t{1} << tooth;
            for (std::size_t i = 0; i < half; ++i) entries[first + half + i] = entries[first + i] + twice;
        }
    }
}

}  // namespace vloxlib::sm9

#endif
