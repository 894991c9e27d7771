/// @file
/// @brief The extension fields over F_p.
///
/// GM/T 0044.1-2016 builds F_p12 as 1-2-4-12: F_p2 = F_p[u]/(u^2 + 2), F_p4 = F_p2[v]/(v^2 - u),
/// F_p12 = F_p4[w]/(w^3 - v). Here it is 1-2-6-12, in which products are cheaper: F_p6 = F_p2[s]/(s^3 - u),
/// F_p12 = F_p6[w]/(w^2 - s). In both w^6 = u, so an element is the same sum of c_i w^i (i = 0..5, c_i in
/// F_p2) and only the brackets differ: v = w^3, s = w^2.
///
/// All operations are constant time in the elements, comparisons apart.
#ifndef QUILCRYPTO_SM9_TOWER_H
#define QUILCRYPTO_SM9_TOWER_H

#include <quilcrypto/sm9/Field.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vloxlib::sm9 {

/// @brief c0 + c1 u, u^2 = -2.
struct Fp2 {
    Fp c0;
    Fp c1;

    static Fp2 one() { return {Fp::one(), Fp()}; }

    Fp2 operator-() const { return {-c0, -c1}; }
    Fp2 doubled() const { return {c0.doubled(), c1.doubled()}; }
    Fp2 conjugate() const { return {c0, -c1}; }  ///< the p-th power
    Fp2 timesU() const { return {-c1.doubled(), c0}; }
    Fp2 square() const;
    Fp2 inverse() const;  ///< zero for zero
    bool isZero() const { return c0.isZero() && c1.isZero(); }
};

inline Fp2 operator+(const Fp2& a, const Fp2& b) { return {a.c0 + b.c0, a.c1 + b.c1}; }
inline Fp2 operator-(const Fp2& a, const Fp2& b) { return {a.c0 - b.c0, a.c1 - b.c1}; }
Fp2 operator*(const Fp2& a, const Fp2& b);
inline Fp2 operator*(const Fp2& a, const Fp& b) { return {a.c0 * b, a.c1 * b}; }
inline bool operator==(const Fp2& a, const Fp2& b) { return a.c0 == b.c0 && a.c1 == b.c1; }

/// @brief c0 + c1 s + c2 s^2, s^3 = u.
struct Fp6 {
    Fp2 c0;
    Fp2 c1;
    Fp2 c2;

    static Fp6 one() { return {Fp2::one(), Fp2(), Fp2()}; }

    Fp6 operator-() const { return {-c0, -c1, -c2}; }
    Fp6 doubled() const { return {c0.doubled(), c1.doubled(), c2.doubled()}; }
    Fp6 timesS() const { return {c2.timesU(), c0, c1}; }
    Fp6 inverse() const;  ///< zero for zero
};

inline Fp6 operator+(const Fp6& a, const Fp6& b) { return {a.c0 + b.c0, a.c1 + b.c1, a.c2 + b.c2}; }
inline Fp6 operator-(const Fp6& a, const Fp6& b) { return {a.c0 - b.c0, a.c1 - b.c1, a.c2 - b.c2}; }
Fp6 operator*(const Fp6& a, const Fp6& b);
inline bool operator==(const Fp6& a, const Fp6& b) { return a.c0 == b.c0 && a.c1 == b.c1 && a.c2 == b.c2; }

/// @brief w^(p-1) = (-2)^((p-1)/12), an element of F_p.
const Fp& wToPMinusOne();

/// @brief c0 + c1 w, w^2 = s.
struct Fp12 {
    static constexpr std::size_t kSize = 384;

    Fp6 c0;
    Fp6 c1;

    static Fp12 one() { return {Fp6::one(), Fp6()}; }

    Fp12 conjugate() const { return {c0, -c1}; }  ///< the p^6-th power; the inverse where a^(p^6 + 1) = 1
    Fp12 square() const;
    Fp12 inverse() const;                  ///< zero for zero
    Fp12 frobenius(unsigned power) const;  ///< the p^power-th power, power 1 to 3

    /// @brief The square of an element with a^(p^4 - p^2 + 1) = 1 (Granger, Scott: half the cost of
    /// square()).
    Fp12 cyclotomicSquare() const;
    /// @brief this * (1 w^3 + a w^2 + b): a line of the pairing.
    Fp12 timesLine(const Fp2& a, const Fp2& b) const;

    /// @brief The standard's 384 bytes: over the tower 1-2-4-12 the highest power first, in each coordinate
    /// too.
    void toBytes(std::uint8_t* bytes) const;
};

Fp12 operator*(const Fp12& a, const Fp12& b);
inline Fp12 operator+(const Fp12& a, const Fp12& b) { return {a.c0 + b.c0, a.c1 + b.c1}; }
inline bool operator==(const Fp12& a, const Fp12& b) { return a.c0 == b.c0 && a.c1 == b.c1; }
inline bool operator!=(const Fp12& a, const Fp12& b) { return !(a == b); }

}  // namespace vloxlib::sm9

#endif
