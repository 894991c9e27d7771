#include <quilcrypto/sm9/Curve.h>

#include <vector>

namespace vloxlib::sm9 {
namespace {

// The entries 1, 3, .. 15 of p
template <typename F>
std::array<Point<F>, SignedDigits::kTableSize> oddMultiples(const Point<F>& p) {
    std::array<Point<F>, SignedDigits::kTableSize> multiples{p};
    const Point<F> twice = p.doubled();
    for (std::size_t i = 1; i < multiples.size(); ++i) multiples[i] = multiples[i - 1] + twice;
    return multiples;
}

}  // namespace

template <typename F>
Point<F> Point<F>::infinity() {
    return {F(), F::one(), F()};
}

template <typename F>
Point<F> Point<F>::from(const AffinePoint<F>& p) {
    return {p.x, p.y, F::one()};
}

template <typename F>
AffinePoint<F> Point<F>::toAffine() const {
    const F inverse = z.inverse();
    return {x * inverse, y * inverse};
}

// X3 = 2 X Y (Y^2 - 9b Z^2)
// Y3 = (Y^2 - 9b Z^2)(Y^2 + 3b Z^2) + 24b Y^2 Z^2
// Z3 = 8 Y^3 Z
template <typename F>
Point<F> Point<F>::doubled() const {
    const F yy = y.square();
    const F eightYy = yy.doubled().doubled().doubled();
    const F bzz = times3b(z.square());
    const F low = yy - (bzz.doubled() + bzz);
    return {(low * (x * y)).doubled(), low * (yy + bzz) + bzz * eightYy, eightYy * (y * z)};
}

namespace {

// What both additions end with, from the products and mixed products of the coordinates:
// X3 = xy (yy - 3b zz) - 3b yz xz
// Y3 = (yy - 3b zz)(yy + 3b zz) + 9b xx xz
// Z3 = yz (yy + 3b zz) + 3 xx xy
template <typename F>
Point<F> finishSum(const F& xx, const F& yy, const F& zz, const F& xy, const F& yz, const F& xz) {
    const F threeXx = xx.doubled() + xx;
    const F bzz = times3b(zz);
    const F bxz = times3b(xz);
    const F minus = yy - bzz;
    const F plus = yy + bzz;
    return {xy * minus - yz * bxz, minus * plus + threeXx * bxz, yz * plus + threeXx * xy};
}

}  // namespace

template <typename F>
Point<F> operator+(const Point<F>& a, const Point<F>& b) {
    const F xx = a.x * b.x;
    const F yy = a.y * b.y;
    const F zz = a.z * b.z;
    return finishSum<F>(xx, yy, zz, (a.x + a.y) * (b.x + b.y) - xx - yy, (a.y + a.z) * (b.y + b.z) - yy - zz,
                        (a.x + a.z) * (b.x + b.z) - xx - zz);
}

template <typename F>
Point<F> operator+(const Point<F>& a, const AffinePoint<F>& b) {
    const F xx = a.x * b.x;
    const F yy = a.y * b.y;
    return finishSum<F>(xx, yy, a.z, (a.x + a.y) * (b.x + b.y) - xx - yy, b.y * a.z + a.y, b.x * a.z + a.x);
}

template <typename F>
Point<F> multiply(const Word256& k, const Point<F>& p) {
    const SignedDigits digits(k);
    const auto table = oddMultiples(p);
    Point<F> sum = Point<F>::infinity();
    for (std::size_t i = SignedDigits::kCount; i-- > 0;) {
        sum = sum.doubled().doubled().doubled().doubled();
        Point<F> entry = lookUp(table, digits.index(i));
        entry.y = select(digits.negative(i), -entry.y, entry.y);
        sum = sum + entry;
    }
    sum.y = select(digits.negated(), -sum.y, sum.y);
    return sum;
}

template struct Point<Fp>;
template struct Point<Fp2>;
template Point<Fp> operator+(const Point<Fp>&, const Point<Fp>&);
template Point<Fp2> operator+(const Point<Fp2>&, const Point<Fp2>&);
template Point<Fp> operator+(const Point<Fp>&, const AffinePoint<Fp>&);
template Point<Fp> multiply(const Word256&, const Point<Fp>&);
template Point<Fp2> multiply(const Word256&, const Point<Fp2>&);

const G1Affine& generatorP1() {
    static const G1Affine p1{Fp::fromInteger(Word256{0xe8c4e4817c66ddddULL, 0xe1e4086909dc3280ULL,
                                                     0xf5ed0704487d01d6ULL, 0x93de051d62bf718fULL}),
                             Fp::fromInteger(Word256{0x0c464cd70a3ea616ULL, 0x1c1c00cbfa602435ULL,
                                                     0x631065125c395bbcULL, 0x21fe8dda4f21e607ULL})};
    return p1;
}

const G2Affine& generatorP2() {
    static const G2Affine p2{{Fp::fromInteger(Word256{0xf9b7213baf82d65bULL, 0xee265948d19c17abULL,
                                                      0xd2aab97fd34ec120ULL, 0x3722755292130b08ULL}),
                              Fp::fromInteger(Word256{0x54806c11d8806141ULL, 0xf1dd2c190f5e93c4ULL,
                                                      0x597b6027b441a01fULL, 0x85aef3d078640c98ULL})},
                             {Fp::fromInteger(Word256{0x6215bba5c999a7c7ULL, 0x47efba98a71a0811ULL,
                                                      0x5f3170153d278ff2ULL, 0xa7cf28d519be3da6ULL}),
                              Fp::fromInteger(Word256{0x856dc76b84ebeb96ULL, 0x0736a96fa347c8bdULL,
                                                      0x66ba0d262cbee6edULL, 0x17509b092e845c12ULL})}};
    return p2;
}

std::optional<G1Affine> readG1(const std::uint8_t* bytes) {
    const std::optional<Fp> x = Fp::fromBytes(bytes);
    const std::optional<Fp> y = Fp::fromBytes(bytes + 32);
    if (!x || !y) return std::nullopt;
    const G1Affine p{*x, *y};
    if (!p.isOnCurve()) return std::nullopt;
    return p;
}

void write(const G1Affine& p, std::uint8_t* bytes) {
    p.x.toBytes(bytes);
    p.y.toBytes(bytes + 32);
}

std::optional<G2Affine> readG2(const std::uint8_t* bytes) {
    std::array<Fp, 4> coordinates;
    for (std::size_t i = 0; i < coordinates.size(); ++i) {
        const std::optional<Fp> coordinate = Fp::fromBytes(bytes + 32 * i);
        if (!coordinate) return std::nullopt;
        coordinates[i] = *coordinate;
    }
    const G2Affine p{{coordinates[1], coordinates[0]}, {coordinates[3], coordinates[2]}};
    if (!p.isOnCurve() || !multiply(GroupOrder::kModulus.value, G2Point::from(p)).isInfinity())
        return std::nullopt;
    return p;
}

void write(const G2Affine& p, std::uint8_t* bytes) {
    p.x.c1.toBytes(bytes);
    p.x.c0.toBytes(bytes + 32);
    p.y.c1.toBytes(bytes + 64);
    p.y.c0.toBytes(bytes + 96);
}

G1Table::G1Table(const G1Point& p) {
    std::vector<G1Point> points;
    std::vector<Fp> inverses;
    G1Point base = p;
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        for (const G1Point& multiple : oddMultiples(base)) {
            points.push_back(multiple);
            inverses.push_back(multiple.z);
        }
        base = base.doubled().doubled().doubled().doubled();
    }
    invertAll(inverses);
    for (std::size_t i = 0; i < points.size(); ++i) {
        m_rows[i / SignedDigits::kTableSize][i % SignedDigits::kTableSize] = {points[i].x * inverses[i],
                                                                              points[i].y * inverses[i]};
    }
}

G1Point G1Table::multiply(const Word256& k) const {
    const SignedDigits digits(k);
    G1Point sum = G1Point::infinity();
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        G1Affine entry = lookUp(m_rows[i], digits.index(i));
        entry.y = select(digits.negative(i), -entry.y, entry.y);
        sum = sum + entry;
    }
    sum.y = select(digits.negated(), -sum.y, sum.y);
    return sum;
}

const G1Table& tableOfP1() {
    static const G1Table table(G1Point::from(generatorP1()));
    return table;
}

}  // namespace vloxlib::sm9
