#include <quilcrypto/sm9/Inverse.h>

namespace vloxlib::sm9 {
namespace {

// Five words in two's complement: below 2^319 in size.
using Signed320 = std::array<std::uint64_t, 5>;

// All ones for a negative number
std::uint64_t signMask(std::uint64_t a) { return maskFromBit(a >> 63); }

std::uint64_t negateIf(std::uint64_t mask, std::uint64_t a) { return (a ^ mask) - mask; }

Signed320 negateIf(std::uint64_t mask, const Signed320& a) {
    Signed320 result{};
    std::uint64_t carry = mask & 1;
    for (std::size_t i = 0; i < result.size(); ++i) result[i] = addWithCarry(a[i] ^ mask, 0, carry);
    return result;
}

// What a batch of steps does to (f, g): 2^62 (f', g') = (fromF f + fromG g, ..). The numbers are signed.
struct Row {
    std::uint64_t fromF;
    std::uint64_t fromG;
};
struct Transition {
    Row f{1, 0};
    Row g{0, 1};
};

void swapAndNegateIf(std::uint64_t mask, std::uint64_t& f, std::uint64_t& g) {
    const std::uint64_t difference = (f ^ g) & mask;
    f ^= difference;
    g = negateIf(mask, g ^ difference);
}

// A step, for odd f: where delta > 0 and g is odd, (delta, f, g) becomes (-delta, g, -f). Then delta grows by
// one, f is added to an odd g, and g is halved. The last 62 bits tell what 62 steps do. Delta starts at 1/2,
// so twice of it is counted: 590 steps are enough for 256 bits then.
Transition batch(std::uint64_t& twiceDelta, std::uint64_t f, std::uint64_t g) {
    Transition t;
    for (int step = 0; step < kStepsPerBatch; ++step) {
        const std::uint64_t odd = maskFromBit(g & 1);
        const std::uint64_t swap = odd & ~signMask(twiceDelta);  // it is odd, never zero
        twiceDelta = negateIf(swap, twiceDelta) + 2;
        swapAndNegateIf(swap, f, g);
        swapAndNegateIf(swap, t.f.fromF, t.g.fromF);
        swapAndNegateIf(swap, t.f.fromG, t.g.fromG);
        g += f & odd;
        t.g.fromF += t.f.fromF & odd;
        t.g.fromG += t.f.fromG & odd;
        g >>= 1;
        t.f.fromF <<= 1;  // doubled instead of halving the other row
        t.f.fromG <<= 1;
    }
    return t;
}

// (fromF f + fromG g) / 2^62
Signed320 apply(const Row& row, const Signed320& f, const Signed320& g) {
    Signed320 sum{};
    const auto addProduct = [&sum](std::uint64_t factor, const Signed320& a) {
        const std::uint64_t negative = signMask(factor);
        const Signed320 x = negateIf(negative, a);
        const std::uint64_t size = negateIf(negative, factor);
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < sum.size(); ++i) sum[i] = multiplyAdd(sum[i], x[i], size, carry);
    };
    addProduct(row.fromF, f);
    addProduct(row.fromG, g);
    const std::uint64_t sign = signMask(sum[4]);
    for (std::size_t i = 0; i < 4; ++i) sum[i] = (sum[i] >> 62) | (sum[i + 1] << 2);
    sum[4] = (sum[4] >> 62) | (sign << 2);
    return sum;
}

// (fromF d + fromG e) R^-1 mod m
Word256 apply(const Row& row, const Word256& d, const Word256& e, const Modulus& m) {
    const auto product = [&m](std::uint64_t factor, const Word256& a) {
        const std::uint64_t negative = signMask(factor);
        Word256 result;
        montgomeryProduct(result, Word256{negateIf(negative, factor), 0, 0, 0}, a, m);
        return select(negative, subtractMod(Word256{}, result, m), result);
    };
    return addMod(product(row.fromF, d), product(row.fromG, e), m);
}

}  // namespace

// f and g start as m and a and end as their common divisor, 1 or -1, and 0. All the way f = d a and g = e a
// mod m, up to the factors that start makes good for.
Word256 inverseBySteps(const Word256& start, const Word256& a, const Modulus& m) {
    Signed320 f{m.value[0], m.value[1], m.value[2], m.value[3], 0};
    Signed320 g{a[0], a[1], a[2], a[3], 0};
    Word256 d{};
    Word256 e = start;
    std::uint64_t twiceDelta = 1;
    for (int i = 0; i < kBatches; ++i) {
        const Transition t = batch(twiceDelta, f[0], g[0]);
        const Signed320 nextF = apply(t.f, f, g);
        g = apply(t.g, f, g);
        f = nextF;
        const Word256 nextD = apply(t.f, d, e, m);
        e = apply(t.g, d, e, m);
        d = nextD;
    }
    return select(signMask(f[4]), subtractMod(Word256{}, d, m), d);
}

}  // namespace vloxlib::sm9
