/// @file
/// @brief Points of an elliptic curve over any of the fields, and their multiples by secret numbers.
#ifndef QUILCRYPTO_SM9_POINT_H
#define QUILCRYPTO_SM9_POINT_H

#include <quilcrypto/sm9/ConstantTime.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vloxlib::sm9 {

/// @brief What depends on the curve over the field F, as a specialisation for each: n, the order of the
/// points that are multiplied, as `order()`; `contains(AffinePoint)`; `sum(Products)` and `doubled(Point)`.
template <typename F>
struct CurveOver;

/// @brief A point that isn't the one at infinity.
template <typename F>
struct AffinePoint {
    F x;
    F y;

    bool isOnCurve() const { return CurveOver<F>::contains(*this); }
    AffinePoint operator-() const { return {x, -y}; }
};

/// @brief A point in homogeneous coordinates: (X/Z, Y/Z), infinity where Z = 0.
///
/// The formulas are those of Renes, Costello and Batina (Complete addition formulas for prime order elliptic
/// curves, 2016). They are complete (all groups of points here have odd order): the same steps, without a
/// case, for equal points, opposite ones and infinity.
template <typename F>
struct Point {
    F x;
    F y;
    F z;

    static constexpr Point infinity() { return {F(), F::one(), F()}; }
    static constexpr Point from(const AffinePoint<F>& p) { return {p.x, p.y, F::one()}; }

    constexpr bool isInfinity() const { return z.isZero(); }
    constexpr Point operator-() const { return {x, -y, z}; }
    constexpr Point doubled() const { return CurveOver<F>::doubled(*this); }
    constexpr AffinePoint<F> toAffine() const {  ///< not for infinity
        const F inverse = z.inverse();
        return {x * inverse, y * inverse};
    }
};

/// @brief What each addition is made of: the products of equal coordinates, and the mixed ones such as
/// xy = x_a y_b + x_b y_a.
template <typename F>
struct Products {
    F xx, yy, zz, xy, yz, xz;
};

template <typename F>
constexpr Point<F> operator+(const Point<F>& a, const Point<F>& b) {
    const F xx = a.x * b.x;
    const F yy = a.y * b.y;
    const F zz = a.z * b.z;
    return CurveOver<F>::sum({xx, yy, zz, (a.x + a.y) * (b.x + b.y) - xx - yy,
                              (a.y + a.z) * (b.y + b.z) - yy - zz, (a.x + a.z) * (b.x + b.z) - xx - zz});
}

template <typename F>
constexpr Point<F> operator+(const Point<F>& a, const AffinePoint<F>& b) {
    const F xx = a.x * b.x;
    const F yy = a.y * b.y;
    return CurveOver<F>::sum(
        {xx, yy, a.z, (a.x + a.y) * (b.x + b.y) - xx - yy, b.y * a.z + a.y, b.x * a.z + a.x});
}

template <typename F>
constexpr Point<F> operator-(const Point<F>& a, const Point<F>& b) {
    return a + -b;
}

/// @brief [k]P for a secret k: fixed windows of four bits, every entry of the table read for each. P may be
/// public.
///
/// For even k, [n-k](-P) is computed: the same for a P of order n.
template <typename F>
Point<F> multiply(const Word256& k, const Point<F>& p) {
    const SignedDigits digits(k, CurveOver<F>::order());
    std::array<Point<F>, SignedDigits::kTableSize> table{p};  // the entries 1, 3, .. 15
    const Point<F> twice = p.doubled();
    for (std::size_t i = 1; i < table.size(); ++i) table[i] = table[i - 1] + twice;
    Point<F> sum = Point<F>::infinity();
    for (std::size_t i = SignedDigits::kCount; i-- > 0;) {
        sum = sum.doubled().doubled().doubled().doubled();
        Point<F> entry = lookUp<SignedDigits::kTableSize>(table.data(), digits.index(i));
        entry.y = select(digits.negative(i), -entry.y, entry.y);
        sum = sum + entry;
    }
    sum.y = select(digits.negated(), -sum.y, sum.y);
    return sum;
}

/// @brief The comb of a point that is multiplied often: 64 points.
template <typename F>
class PointTable {
public:
    using Comb = CombDigits<4>;
    using Points = std::array<Point<F>, Comb::kPoints>;

    /// @brief What the table is made of. Compilers bound the work on a constant: one is made in two steps.
    static constexpr Points pointsOf(const Point<F>& p) {  ///< p isn't infinity
        Points points{};
        fillCombPoints<Comb>(p, points);
        return points;
    }
    explicit constexpr PointTable(const Points& points) {
        std::array<Point<F>, Comb::kEntries> entries{};
        std::array<F, Comb::kEntries> inverses{};
        fillComb<Comb>(points, entries);
        for (std::size_t i = 0; i < entries.size(); ++i) inverses[i] = entries[i].z;
        invertAll(inverses);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            m_entries[i] = {entries[i].x * inverses[i], entries[i].y * inverses[i]};
        }
    }
    explicit PointTable(const Point<F>& p) : PointTable(pointsOf(p)) {}
    /// @brief [k]P for a secret k: 12 doublings and 52 additions.
    Point<F> multiply(const Word256& k) const {
        const Comb digits(k, CurveOver<F>::order());
        Point<F> sum = Point<F>::infinity();
        for (std::size_t round = Comb::kRounds; round-- > 0;) {
            if (round + 1 != Comb::kRounds) sum = sum.doubled();
            for (std::size_t table = 0; table < Comb::kTables; ++table) {
                AffinePoint<F> entry = lookUp<Comb::kTableSize>(&m_entries[table * Comb::kTableSize],
                                                                digits.index(table, round));
                entry.y = select(digits.negative(table, round), -entry.y, entry.y);
                sum = sum + entry;
            }
        }
        sum.y = select(digits.negated(), -sum.y, sum.y);
        return sum;
    }

private:
    std::array<AffinePoint<F>, Comb::kEntries> m_entries{};
};

}  // namespace vloxlib::sm9

#endif
