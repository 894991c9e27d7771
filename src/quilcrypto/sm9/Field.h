/// @file
/// @brief Prime fields of 256 bits, and those of SM9 (GM/T 0044.5-2016, parameters): F_p under the curve and
/// Z_n of the scalars.
#ifndef QUILCRYPTO_SM9_FIELD_H
#define QUILCRYPTO_SM9_FIELD_H

#include <quilcrypto/sm9/Inverse.h>
#include <quilcrypto/sm9/Word256.h>

#include <optional>

namespace vloxlib::sm9 {

/// The parameter t = 0x600000000058f98a of the Barreto-Naehrig family, from which p, n and the loops follow.
inline constexpr std::uint64_t kT = 0x600000000058f98aULL;

/// p = 36t^4 + 36t^3 + 24t^2 + 6t + 1
struct FieldPrime {
    static constexpr Modulus kModulus = makeModulus(
        {0xe56f9b27e351457dULL, 0x21f2934b1a7aeedbULL, 0xd603ab4ff58ec745ULL, 0xb640000002a3a6f1ULL});
};

/// n = 36t^4 + 36t^3 + 18t^2 + 6t + 1, the prime order of G1, G2 and GT
struct GroupOrder {
    static constexpr Modulus kModulus = makeModulus(
        {0xe56ee19cd69ecf25ULL, 0x49f2934b18ea8beeULL, 0xd603ab4ff58ec744ULL, 0xb640000002a3a6f1ULL});
};

/// @brief An element of a prime field, kept as a R mod the prime (Montgomery form).
///
/// Constant time in the elements, with one exception: none of them is told apart by a branch but in
/// fromBytes(), isZero() and the comparison, whose answers are public.
template <typename Prime>
class Residue {
public:
    constexpr Residue() : m_words{} {}  ///< zero

    static constexpr Residue one() { return Residue(modulus().r); }
    /// @brief Any integer of 256 bits, reduced.
    static constexpr Residue fromInteger(const Word256& a) { return product(a, modulus().rSquared); }
    static constexpr Residue fromInteger(std::uint64_t a) { return fromInteger(Word256{a, 0, 0, 0}); }
    /// @brief Reads 32 bytes, big-endian. @return nothing for a number that isn't below the prime.
    static std::optional<Residue> fromBytes(const std::uint8_t* bytes) {
        const Word256 a = fromBigEndian(bytes);
        if (!isBelow(a, modulus().value)) return std::nullopt;
        return fromInteger(a);
    }
    Word256 toInteger() const { return product(m_words, Word256{1, 0, 0, 0}).m_words; }
    void toBytes(std::uint8_t* bytes) const { toBigEndian(toInteger(), bytes); }

    friend constexpr Residue operator+(const Residue& a, const Residue& b) {
        return Residue(isConstantEvaluated() ? addModPortable(a.m_words, b.m_words, modulus().value)
                                             : addMod(a.m_words, b.m_words, modulus()));
    }
    friend constexpr Residue operator-(const Residue& a, const Residue& b) {
        return Residue(isConstantEvaluated() ? subtractModPortable(a.m_words, b.m_words, modulus().value)
                                             : subtractMod(a.m_words, b.m_words, modulus()));
    }
    friend constexpr Residue operator*(const Residue& a, const Residue& b) {
        return product(a.m_words, b.m_words);
    }
    constexpr Residue operator-() const { return Residue() - *this; }
    constexpr Residue doubled() const { return *this + *this; }
    constexpr Residue square() const { return *this * *this; }

    /// @brief The power, constant time in the base; the exponent is public.
    constexpr Residue power(const Word256& exponent) const {
        std::array<Residue, 16> powers{one()};
        for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * *this;
        Residue result = one();
        for (std::size_t digit = 64; digit-- > 0;) {
            result = result.square().square().square().square();
            result = result * powers[(exponent[digit / 16] >> (digit % 16 * 4)) & 15];
        }
        return result;
    }
    /// @brief The inverse, and zero for zero.
    constexpr Residue inverse() const {
        return isConstantEvaluated() ? power(modulusMinusTwo()) : inverseBySteps();
    }

    constexpr bool isZero() const { return sm9::isZero(m_words); }
    friend bool operator==(const Residue& a, const Residue& b) { return a.m_words == b.m_words; }
    friend bool operator!=(const Residue& a, const Residue& b) { return !(a == b); }

    static constexpr const Modulus& modulus() { return Prime::kModulus; }

private:
    static constexpr Word256 modulusMinusTwo() {
        std::uint64_t borrow = 0;
        return subtract(modulus().value, Word256{2, 0, 0, 0}, borrow);
    }
    Residue inverseBySteps() const {
        static const Word256 start = inverseStart();
        return Residue(sm9::inverseBySteps(start, m_words, modulus()));
    }
    // The steps give start (a R)^-1 (2^62 R^-1)^10, and a^-1 R is wanted.
    static Word256 inverseStart() {
        const Residue r = fromInteger(modulus().r);
        const Residue perBatch =
            r * fromInteger(1ULL << kStepsPerBatch).power(modulusMinusTwo());  // R 2^-62, by Fermat
        return (r * perBatch.power(Word256{kBatches, 0, 0, 0})).m_words;
    }
    struct Unset {};
    explicit Residue(Unset) {}
    static Residue productAtRunTime(const Word256& a, const Word256& b) {
        Residue result{Unset()};
        montgomeryProduct(result.m_words, a, b, modulus());
        return result;
    }
    static constexpr Residue product(const Word256& a, const Word256& b) {
        return isConstantEvaluated() ? Residue(montgomeryProductPortable(a, b, modulus()))
                                     : productAtRunTime(a, b);
    }
    explicit constexpr Residue(const Word256& words) : m_words(words) {}
    Word256 m_words;
};

/// @brief Inverts all elements of an array or a vector, none of them zero, with one inversion and three
/// products for each (Montgomery's trick).
template <typename Elements>
constexpr void invertAll(Elements& elements) {
    Elements before = elements;  // the product of all elements in front
    auto product = Elements::value_type::one();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        before[i] = product;
        product = product * elements[i];
    }
    auto inverse = product.inverse();
    for (std::size_t i = elements.size(); i-- > 0;) {
        const auto next = inverse * elements[i];
        elements[i] = inverse * before[i];
        inverse = next;
    }
}

using Fp = Residue<FieldPrime>;
using Fn = Residue<GroupOrder>;

}  // namespace vloxlib::sm9

#endif
