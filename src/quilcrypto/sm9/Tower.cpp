#include <quilcrypto/sm9/Tower.h>

namespace vloxlib::sm9 {
namespace {

// The p^k-th power of c w^i is (c, or its conjugate for odd k) times w^i times (w^(p-1))^(k i).
struct FrobeniusFactors {
    Fp of[3][6];  // [k - 1][i]

    FrobeniusFactors() {
        Fp factor = Fp::one();
        for (auto& row : of) {
            factor = factor * wToPMinusOne();
            row[0] = Fp::one();
            for (std::size_t i = 1; i < 6; ++i) row[i] = row[i - 1] * factor;
        }
    }
};

const FrobeniusFactors& frobeniusFactors() {
    static const FrobeniusFactors factors;
    return factors;
}

// (a + b v)^2 = squareA + squareB v in F_p4, v^2 = u
void squareFp4(const Fp2& a, const Fp2& b, Fp2& squareA, Fp2& squareB) {
    const Fp2 aa = a.square();
    const Fp2 bb = b.square();
    squareB = (a + b).square() - aa - bb;
    squareA = aa + bb.timesU();
}

// a (b0 + b1 s)
Fp6 timesSparse(const Fp6& a, const Fp2& b0, const Fp2& b1, const Fp2& b0PlusB1) {
    const Fp2 low = a.c0 * b0;
    const Fp2 high = a.c1 * b1;
    return {low + (a.c2 * b1).timesU(), (a.c0 + a.c1) * b0PlusB1 - low - high, a.c2 * b0 + high};
}

}  // namespace

const Fp& wToPMinusOne() {
    static const Fp power = [] {
        std::uint64_t borrow = 0;
        const Word256 pMinusOne = subtract(FieldPrime::kModulus.value, Word256{1, 0, 0, 0}, borrow);
        return (-Fp::fromInteger(2)).power(divide(pMinusOne, 12));
    }();
    return power;
}

// Karatsuba: three products for four
Fp2 operator*(const Fp2& a, const Fp2& b) {
    const Fp low = a.c0 * b.c0;
    const Fp high = a.c1 * b.c1;
    return {low - high.doubled(), (a.c0 + a.c1) * (b.c0 + b.c1) - low - high};
}

// c0^2 - 2 c1^2 = (c0 + c1)(c0 - 2 c1) + c0 c1
Fp2 Fp2::square() const {
    const Fp product = c0 * c1;
    return {(c0 + c1) * (c0 - c1.doubled()) + product, product.doubled()};
}

Fp2 Fp2::inverse() const {
    const Fp inverseNorm = (c0.square() + c1.square().doubled()).inverse();
    return {c0 * inverseNorm, -(c1 * inverseNorm)};
}

Fp6 operator*(const Fp6& a, const Fp6& b) {
    const Fp2 p0 = a.c0 * b.c0;
    const Fp2 p1 = a.c1 * b.c1;
    const Fp2 p2 = a.c2 * b.c2;
    return {p0 + ((a.c1 + a.c2) * (b.c1 + b.c2) - p1 - p2).timesU(),
            (a.c0 + a.c1) * (b.c0 + b.c1) - p0 - p1 + p2.timesU(),
            (a.c0 + a.c2) * (b.c0 + b.c2) - p0 - p2 + p1};
}

// The adjoint over the norm
Fp6 Fp6::inverse() const {
    const Fp2 t0 = c0.square() - (c1 * c2).timesU();
    const Fp2 t1 = c2.square().timesU() - c0 * c1;
    const Fp2 t2 = c1.square() - c0 * c2;
    const Fp2 inverseNorm = (c0 * t0 + (c2 * t1 + c1 * t2).timesU()).inverse();
    return {t0 * inverseNorm, t1 * inverseNorm, t2 * inverseNorm};
}

Fp12 operator*(const Fp12& a, const Fp12& b) {
    const Fp6 low = a.c0 * b.c0;
    const Fp6 high = a.c1 * b.c1;
    return {low + high.timesS(), (a.c0 + a.c1) * (b.c0 + b.c1) - low - high};
}

// c0^2 + s c1^2 = (c0 + c1)(c0 + s c1) - c0 c1 - s c0 c1
Fp12 Fp12::square() const {
    const Fp6 product = c0 * c1;
    return {(c0 + c1) * (c0 + c1.timesS()) - product - product.timesS(), product.doubled()};
}

Fp12 Fp12::inverse() const {
    const Fp6 inverseNorm = (c0 * c0 - (c1 * c1).timesS()).inverse();
    return {c0 * inverseNorm, -(c1 * inverseNorm)};
}

Fp12 Fp12::frobenius(unsigned power) const {
    const Fp* factor = frobeniusFactors().of[power - 1];
    const auto image = [&](const Fp2& c, std::size_t i) {
        return (power % 2 == 1 ? c.conjugate() : c) * factor[i];
    };
    return {{image(c0.c0, 0), image(c0.c1, 2), image(c0.c2, 4)},
            {image(c1.c0, 1), image(c1.c1, 3), image(c1.c2, 5)}};
}

// Over F_p4, a = A + B w + C w^2 has a^2 = (3A^2 - 2A') + (3v C^2 + 2B') w + (3B^2 - 2C') w^2, where '
// changes the sign of v. In powers of w: A = (0, 3), B = (1, 4), C = (2, 5).
Fp12 Fp12::cyclotomicSquare() const {
    const auto threeMinusTwo = [](const Fp2& x, const Fp2& y) { return (x - y).doubled() + x; };
    const auto threePlusTwo = [](const Fp2& x, const Fp2& y) { return (x + y).doubled() + x; };
    Fp2 low;
    Fp2 high;
    Fp12 result;
    squareFp4(c0.c0, c1.c1, low, high);  // A^2
    result.c0.c0 = threeMinusTwo(low, c0.c0);
    result.c1.c1 = threePlusTwo(high, c1.c1);
    squareFp4(c1.c0, c0.c2, low, high);  // B^2
    result.c0.c1 = threeMinusTwo(low, c0.c1);
    result.c1.c2 = threePlusTwo(high, c1.c2);
    squareFp4(c0.c1, c1.c2, low, high);  // C^2, to be multiplied by v
    result.c1.c0 = threePlusTwo(high.timesU(), c1.c0);
    result.c0.c2 = threeMinusTwo(low, c0.c2);
    return result;
}

// The line is (b + a s) + s w, and a product with s moves coordinates only.
Fp12 Fp12::timesLine(const Fp2& a, const Fp2& b) const {
    const Fp2 sum = a + b;
    return {timesSparse(c0, b, a, sum) + c1.timesS().timesS(), c0.timesS() + timesSparse(c1, b, a, sum)};
}

void Fp12::toBytes(std::uint8_t* bytes) const {
    // a2 w^2 + a1 w + a0 with a_i = a_i1 v + a_i0 and v = w^3: the powers 5, 2, 4, 1, 3, 0
    for (const Fp2* c : {&c1.c2, &c0.c1, &c0.c2, &c1.c0, &c1.c1, &c0.c0}) {
        c->c1.toBytes(bytes);
        c->c0.toBytes(bytes + 32);
        bytes += 64;
    }
}

}  // namespace vloxlib::sm9
