#include "quilcrypto/Sm2Curve.h"

namespace vloxlib::sm2 {

namespace {

constexpr AffinePoint kGenerator{Fp::fromInteger(sm9::Word256{0x715a4589334c74c7ULL, 0x8fe30bbff2660be1ULL,
                                                              0x5f9904466a39c994ULL, 0x32c4ae2c1f198119ULL}),
                                 Fp::fromInteger(sm9::Word256{0x02df32e52139f0a0ULL, 0xd0a9877cc62a4740ULL,
                                                              0x59bdcee36b692153ULL, 0xbc3736a2f4f6779cULL})};

}  // namespace

const PointTable& tableOfGenerator() {
    static constexpr auto points = PointTable::pointsOf(Point::from(kGenerator));
    static constexpr PointTable table(points);
    return table;
}

}  // namespace vloxlib::sm2
