/// @file
/// @brief The curve of SM2 (GM/T 0003.5): y^2 = x^3 - 3x + b over a prime field, its group of prime order n.
#ifndef QUILCRYPTO_SM2CURVE_H
#define QUILCRYPTO_SM2CURVE_H

#include <quilcrypto/sm9/Field.h>
#include <quilcrypto/sm9/Point.h>

namespace vloxlib::sm2 {

/// p = 2^256 - 2^224 - 2^96 + 2^64 - 1
struct FieldPrime {
    static constexpr sm9::Modulus kModulus = sm9::makeModulus(
        {0xffffffffffffffffULL, 0xffffffff00000000ULL, 0xffffffffffffffffULL, 0xfffffffeffffffffULL});
};

struct GroupOrder {
    static constexpr sm9::Modulus kModulus = sm9::makeModulus(
        {0x53bbf40939d54123ULL, 0x7203df6b21c6052bULL, 0xffffffffffffffffULL, 0xfffffffeffffffffULL});
};

using Fp = sm9::Residue<FieldPrime>;
using Point = sm9::Point<Fp>;
using AffinePoint = sm9::AffinePoint<Fp>;
using PointTable = sm9::PointTable<Fp>;

inline constexpr Fp kB = Fp::fromInteger(
    sm9::Word256{0xddbcbd414d940e93ULL, 0xf39789f515ab8f92ULL, 0x4d5a9e4bcf6509a7ULL, 0x28e9fa9e9d9f5e34ULL});

/// @brief The table of the generator, made by the compiler.
const PointTable& tableOfGenerator();

}  // namespace vloxlib::sm2

namespace vloxlib::sm9 {

template <>
struct CurveOver<sm2::Fp> {
    using F = sm2::Fp;

    static constexpr const Modulus& order() { return sm2::GroupOrder::kModulus; }
    static bool contains(const AffinePoint<F>& p) {
        return p.y.square() == p.x.square() * p.x - times3(p.x) + sm2::kB;
    }
    // With m = 3 (xz - b zz) and l = 3 (b xz - 3 zz - xx):
    // X3 = xy (yy + m) - yz l
    // Y3 = (yy + m)(yy - m) + 3 (xx - zz) l
    // Z3 = yz (yy - m) + 3 xy (xx - zz)
    static constexpr Point<F> sum(const Products<F>& p) {
        const F m = times3(p.xz - sm2::kB * p.zz);
        const F l = times3(sm2::kB * p.xz - times3(p.zz) - p.xx);
        const F difference = times3(p.xx - p.zz);
        const F plus = p.yy + m;
        const F minus = p.yy - m;
        return {p.xy * plus - p.yz * l, plus * minus + difference * l, p.yz * minus + p.xy * difference};
    }
    // The same with equal points, where xy, yz and xz are twice the products of coordinates. Z3 is 8 Y^3 Z
    // then.
    static constexpr Point<F> doubled(const Point<F>& p) {
        const F xx = p.x.square();
        const F yy = p.y.square();
        const F zz = p.z.square();
        const F xy = (p.x * p.y).doubled();
        const F yz = (p.y * p.z).doubled();
        const F xz = (p.x * p.z).doubled();
        const F m = times3(xz - sm2::kB * zz);
        const F l = times3(sm2::kB * xz - times3(zz) - xx);
        return {xy * (yy + m) - yz * l, (yy + m) * (yy - m) + times3(xx - zz) * l,
                (yz * yy).doubled().doubled()};
    }

private:
    static constexpr F times3(const F& a) { return a.doubled() + a; }
};

}  // namespace vloxlib::sm9

#endif
