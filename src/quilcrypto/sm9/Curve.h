/// @file
/// @brief The two groups of points: G1 on y^2 = x^3 + 5 over F_p, and G2 on the twist y^2 = x^3 + 5u over
/// F_p2.
///
/// GM/T 0044.1-2016, appendix on the curve. A point (x, y) of the twist stands for (x w^-2, y w^-3) over
/// F_p12.
#ifndef QUILCRYPTO_SM9_CURVE_H
#define QUILCRYPTO_SM9_CURVE_H

#include <quilcrypto/sm9/Point.h>
#include <quilcrypto/sm9/Tower.h>

#include <cstdint>
#include <optional>

namespace vloxlib::sm9 {

inline Fp curveB(const Fp*) { return Fp::fromInteger(5); }
inline Fp2 curveB(const Fp2*) { return Fp2{Fp::fromInteger(5), Fp()}.timesU(); }

// 3b times a coordinate
constexpr Fp times3b(const Fp& a) { return a.doubled().doubled().doubled().doubled() - a; }
inline Fp2 times3b(const Fp2& a) { return Fp2{times3b(a.c0), times3b(a.c1)}.timesU(); }

/// @brief y^2 = x^3 + b.
template <typename F>
struct CurveOver {
    static constexpr const Modulus& order() { return GroupOrder::kModulus; }
    static bool contains(const AffinePoint<F>& p) {
        return p.y.square() == p.x.square() * p.x + curveB(static_cast<const F*>(nullptr));
    }
    // X3 = xy (yy - 3b zz) - 3b yz xz
    // Y3 = (yy - 3b zz)(yy + 3b zz) + 9b xx xz
    // Z3 = yz (yy + 3b zz) + 3 xx xy
    static constexpr Point<F> sum(const Products<F>& p) {
        const F threeXx = p.xx.doubled() + p.xx;
        const F bzz = times3b(p.zz);
        const F bxz = times3b(p.xz);
        const F minus = p.yy - bzz;
        const F plus = p.yy + bzz;
        return {p.xy * minus - p.yz * bxz, minus * plus + threeXx * bxz, p.yz * plus + threeXx * p.xy};
    }
    // X3 = 2 X Y (Y^2 - 9b Z^2)
    // Y3 = (Y^2 - 9b Z^2)(Y^2 + 3b Z^2) + 24b Y^2 Z^2
    // Z3 = 8 Y^3 Z
    static constexpr Point<F> doubled(const Point<F>& p) {
        const F yy = p.y.square();
        const F eightYy = yy.doubled().doubled().doubled();
        const F bzz = times3b(p.z.square());
        const F low = yy - (bzz.doubled() + bzz);
        return {(low * (p.x * p.y)).doubled(), low * (yy + bzz) + bzz * eightYy, eightYy * (p.y * p.z)};
    }
};

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

/// @brief The table of the generator P1, made by the compiler.
const PointTable<Fp>& tableOfP1();
/// @brief The table of the generator P2, which only a key centre needs: made at first use and kept.
const PointTable<Fp2>& tableOfP2();

}  // namespace vloxlib::sm9

#endif
