/// @file
/// @brief The two groups of points: G1 on y^2 = x^3 + 5 over F_p, and G2 on the twist y^2 = x^3 + 5u over
/// F_p2.
///
/// GM/T 0044.1-2016, appendix on the curve. A point (x, y) of the twist stands for (x w^-2, y w^-3) over
/// F_p12.
#ifndef QUILCRYPTO_SM9_CURVE_H
#define QUILCRYPTO_SM9_CURVE_H

#include <quilcrypto/sm9/ConstantTime.h>
#include <quilcrypto/sm9/Tower.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace vloxlib::sm9 {

inline Fp curveB(const Fp*) { return Fp::fromInteger(5); }
inline Fp2 curveB(const Fp2*) { return Fp2{Fp::fromInteger(5), Fp()}.timesU(); }

// 3b times a coordinate
inline Fp times3b(const Fp& a) { return a.doubled().doubled().doubled().doubled() - a; }
inline Fp2 times3b(const Fp2& a) { return Fp2{times3b(a.c0), times3b(a.c1)}.timesU(); }

/// @brief A point that isn't the one at infinity.
template <typename F>
struct AffinePoint {
    F x;
    F y;

    bool isOnCurve() const { return y.square() == x.square() * x + curveB(static_cast<const F*>(nullptr)); }
    AffinePoint operator-() const { return {x, -y}; }
};

/// @brief A point in homogeneous coordinates: (X/Z, Y/Z), infinity where Z = 0.
///
/// The formulas are those of Renes, Costello and Batina for y^2 = x^3 + b. They are complete (both groups of
/// points have odd order): the same steps, without a case, for equal points, opposite ones and infinity.
template <typename F>
struct Point {
    F x;
    F y;
    F z;

    static Point infinity();
    static Point from(const AffinePoint<F>& p);

    bool isInfinity() const { return z.isZero(); }
    Point operator-() const { return {x, -y, z}; }
    Point doubled() const;
    AffinePoint<F> toAffine() const;  ///< not for infinity
};

template <typename F>
Point<F> operator+(const Point<F>& a, const Point<F>& b);
template <typename F>
Point<F> operator+(const Point<F>& a, const AffinePoint<F>& b);

/// @brief [k]P for a secret k: fixed windows of four bits, every entry of the table read for each. P may be
/// public.
///
/// For even k, [n-k](-P) is computed: the same for a P of order n.
template <typename F>
Point<F> multiply(const Word256& k, const Point<F>& p);

using G1Affine = AffinePoint<Fp>;
using G2Affine = AffinePoint<Fp2>;
using G1Point = Point<Fp>;
using G2Point = Point<Fp2>;

const G1Affine& generatorP1();
const G2Affine& generatorP2();

/// @brief Reads x || y, 64 bytes. @return nothing unless both are below p and the point lies on the curve; it
/// is in G1 then, whose cofactor is 1.
std::optional<G1Affine> readG1(const std::uint8_t* bytes);
void write(const G1Affine& p, std::uint8_t* bytes);

/// @brief Reads x1 || x0 || y1 || y0, 128 bytes (the part with u first). @return nothing unless all are below
/// p and the point lies on the twist and has order n.
std::optional<G2Affine> readG2(const std::uint8_t* bytes);
void write(const G2Affine& p, std::uint8_t* bytes);

/// @brief Multiples d 16^i P, for odd d in 1..15 and i in 0..63, of a point that is multiplied often.
class G1Table {
public:
    explicit G1Table(const G1Point& p);  ///< p isn't infinity
    /// @brief [k]P for a secret k, 64 additions.
    G1Point multiply(const Word256& k) const;

private:
    using Row = std::array<G1Affine, SignedDigits::kTableSize>;
    std::array<Row, SignedDigits::kCount> m_rows;
};

/// @brief The table of the generator P1, made at first use and kept.
const G1Table& tableOfP1();

}  // namespace vloxlib::sm9

#endif
