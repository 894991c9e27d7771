/// @file
/// @brief The R-ate pairing e: G1 x G2 -> GT (GM/T 0044.1-2016, annex on pairings), and powers in GT.
#ifndef QUILCRYPTO_SM9_PAIRING_H
#define QUILCRYPTO_SM9_PAIRING_H

#include <quilcrypto/sm9/Bytes.h>
#include <quilcrypto/sm9/Curve.h>

#include <array>
#include <vector>

namespace vloxlib::sm9 {

/// @brief What the Miller loop needs of the point of G2: the slopes and offsets of its lines in their order.
///
/// Made once for a point that is paired often: P2 is in every encryption, a user's key in every decryption.
class PreparedG2 {
public:
    /// @brief The line through two points T, T' of the twist with slope m, as m and m x_T - y_T.
    struct Line {
        Fp2 slope;
        Fp2 offset;
    };
    using Lines = std::vector<Line, CleansingAllocator<Line>>;

    explicit PreparedG2(const G2Affine& q);  ///< q has order n
    const Lines& lines() const { return m_lines; }

private:
    Lines m_lines;
};

/// @brief The lines of P2, made at first use and kept.
const PreparedG2& preparedP2();

/// @brief f_{6t+2,Q}(P) l(P) l'(P), up to factors that the final power takes away. P isn't infinity.
Fp12 millerLoop(const G1Point& p, const PreparedG2& q);

/// @brief f^((p^6 - 1)(p^2 + 1))
Fp12 finalPowerEasyPart(const Fp12& f);
/// @brief f^((p^4 - p^2 + 1) / n), exactly this power, since its bytes are hashed
Fp12 finalPowerHardPart(const Fp12& f);

/// @brief e(P, Q). Constant time in both.
Fp12 pairing(const G1Point& p, const PreparedG2& q);

/// @brief Powers of a fixed element of GT other than 1, for secret exponents.
///
/// An element h of GT is (a + w)/(a - w) with a = (1 + c0)/c1 in F_p6 (h = c0 + c1 w; the torus T2). So a
/// product of many is the product of their a + w, divided by its conjugate at the end, and a factor in F_p6
/// doesn't matter: each step is (x + y w)(a + w) with two products in F_p6 for three, and a table of half the
/// size. The inverse of h has -a.
class GtTable {
public:
    explicit GtTable(const Fp12& g);
    Fp12 power(const Word256& k) const;

private:
    using Comb = CombDigits<13>;                // a round costs as much as an addition here
    std::array<Fp6, Comb::kEntries> m_entries;  // each power by its a
};

}  // namespace vloxlib::sm9

#endif
