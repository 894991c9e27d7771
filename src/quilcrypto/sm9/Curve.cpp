#include <quilcrypto/sm9/Curve.h>

namespace vloxlib::sm9 {
namespace {

constexpr G1Affine kP1{Fp::fromInteger(Word256{0xe8c4e4817c66ddddULL, 0xe1e4086909dc3280ULL,
                                               0xf5ed0704487d01d6ULL, 0x93de051d62bf718fULL}),
                       Fp::fromInteger(Word256{0x0c464cd70a3ea616ULL, 0x1c1c00cbfa602435ULL,
                                               0x631065125c395bbcULL, 0x21fe8dda4f21e607ULL})};

}  // namespace

const G1Affine& generatorP1() { return kP1; }

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

const PointTable<Fp>& tableOfP1() {
    static constexpr auto points = PointTable<Fp>::pointsOf(G1Point::from(kP1));
    static constexpr PointTable<Fp> table(points);
    return table;
}

const PointTable<Fp2>& tableOfP2() {
    static const PointTable<Fp2>& table =
        *new PointTable<Fp2>(G2Point::from(generatorP2()));  // never destroyed
    return table;
}

}  // namespace vloxlib::sm9
