#include <quilcrypto/sm9/Pairing.h>

namespace vloxlib::sm9 {
namespace {

// The non-adjacent form of high 2^64 + low, a number with Count + 1 digits, from the second highest one down;
// the highest is 1.
template <std::size_t Count>
constexpr std::array<int, Count> nonAdjacentForm(std::uint64_t high, std::uint64_t low) {
    std::array<int, Count> digits{};
    for (std::size_t i = Count; i-- > 0;) {
        if (low % 4 == 1) {
            digits[i] = 1;
            --low;
        } else if (low % 4 == 3) {
            digits[i] = -1;
            if (++low == 0) ++high;
        }
        low = (low >> 1) | (high << 63);
        high >>= 1;
    }
    return digits;
}

constexpr auto kLoop = nonAdjacentForm<65>((kT >> 32) * 6 >> 32, kT * 6 + 2);  // 6t + 2
constexpr auto kTDigits = nonAdjacentForm<63>(0, kT);

// (x, y) -> (x^p, y^p) over F_p12, on the twist: with w^p = f w, x w^-2 becomes x' f^-2 w^-2.
G2Affine frobenius(const G2Affine& q) {
    static const Fp inverse = wToPMinusOne().inverse();
    static const Fp inverseSquared = inverse.square();
    static const Fp inverseCubed = inverseSquared * inverse;
    return {q.x.conjugate() * inverseSquared, q.y.conjugate() * inverseCubed};
}

// f^t for f with f^(p^6 + 1) = 1, where the conjugate is the inverse
Fp12 powerOfT(const Fp12& f) {
    const Fp12 inverse = f.conjugate();
    Fp12 power = f;
    for (const int digit : kTDigits) {
        power = power.cyclotomicSquare();
        if (digit != 0) power = power * (digit > 0 ? f : inverse);
    }
    return power;
}

// Follows the loop's point T through its multiples and keeps the line of each step. T never meets infinity
// nor the point added to it, since both stand for different multiples of q below its order.
class LineWalk {
public:
    explicit LineWalk(const G2Affine& start) : m_t(start) {}

    PreparedG2::Line toDouble() {
        const Fp2 xx = m_t->x.square();
        return step((xx.doubled() + xx) * m_t->y.doubled().inverse(), m_t->x);
    }
    PreparedG2::Line toAdd(const G2Affine& q) { return step((q.y - m_t->y) * (q.x - m_t->x).inverse(), q.x); }

private:
    PreparedG2::Line step(const Fp2& slope, const Fp2& otherX) {
        const Fp2 offset = slope * m_t->x - m_t->y;
        const Fp2 x = slope.square() - m_t->x - otherX;
        *m_t = {x, offset - slope * x};
        return {slope, offset};
    }
    Secret<G2Affine> m_t;
};

}  // namespace

PreparedG2::PreparedG2(const G2Affine& q) {
    const G2Affine negative = -q;
    LineWalk walk(q);
    for (const int digit : kLoop) {
        m_lines.push_back(walk.toDouble());
        if (digit != 0) m_lines.push_back(walk.toAdd(digit > 0 ? q : negative));
    }
    const G2Affine image = frobenius(q);
    m_lines.push_back(walk.toAdd(image));
    m_lines.push_back(walk.toAdd(-frobenius(image)));
}

const PreparedG2& preparedP2() {
    static const PreparedG2& prepared = *new PreparedG2(generatorP2());  // threads may outlive static objects
    return prepared;
}

// The line with slope m through (x, y) of the twist is, over F_p12, y_P - m x_P w^-1 + (m x - y) w^-3 at P.
// Times w^3 / y_P, which the final power takes to 1: w^3 - m (x_P / y_P) w^2 + (m x - y) / y_P.
Fp12 millerLoop(const G1Point& p, const PreparedG2& q) {
    const Fp yInverse = p.y.inverse();
    const Fp minusXOverY = -(p.x * yInverse);
    const Fp oneOverY = p.z * yInverse;
    const PreparedG2::Line* line = q.lines().data();
    Fp12 f = Fp12::one();
    const auto multiplyByLine = [&] {
        f = f.timesLine(line->slope * minusXOverY, line->offset * oneOverY);
        ++line;
    };
    for (const int digit : kLoop) {
        f = f.square();
        multiplyByLine();
        if (digit != 0) multiplyByLine();
    }
    multiplyByLine();
    multiplyByLine();
    return f;
}

Fp12 finalPowerEasyPart(const Fp12& f) {
    const Fp12 g = f.conjugate() * f.inverse();
    return g.frobenius(2) * g;
}

// (p^4 - p^2 + 1)/n = p^3 + (6t^2 + 1) p^2 + (-36t^3 - 18t^2 - 12t + 1) p + (-36t^3 - 30t^2 - 18t - 2), by
// the addition chain of Scott, Benger, Charlemagne, Dominguez Perez and Kachisa for y0 y1^2 y2^6 y3^12 y4^18
// y5^30 y6^36.
Fp12 finalPowerHardPart(const Fp12& f) {
    const Fp12 ft = powerOfT(f);
    const Fp12 ft2 = powerOfT(ft);
    const Fp12 ft3 = powerOfT(ft2);
    const Fp12 y0 = f.frobenius(1) * f.frobenius(2) * f.frobenius(3);
    const Fp12 y1 = f.conjugate();
    const Fp12 y2 = ft2.frobenius(2);
    const Fp12 y3 = ft.frobenius(1).conjugate();
    const Fp12 y4 = (ft * ft2.frobenius(1)).conjugate();
    const Fp12 y5 = ft2.conjugate();
    const Fp12 y6 = (ft3 * ft3.frobenius(1)).conjugate();

    const Fp12 a = y6.cyclotomicSquare() * y4 * y5;              // y4 y5 y6^2
    const Fp12 b = (y3 * y5 * a).cyclotomicSquare() * (a * y2);  // y2 y3^2 y4^3 y5^5 y6^6
    const Fp12 c = b.cyclotomicSquare();
    return (c * y1).cyclotomicSquare() * (c * y0);
}

Fp12 pairing(const G1Point& p, const PreparedG2& q) {
    return finalPowerHardPart(finalPowerEasyPart(millerLoop(p, q)));
}

namespace {

// GT written with plus and minus, as the comb wants it.
struct Power {
    Fp12 value;

    Power doubled() const { return {value.cyclotomicSquare()}; }
};
Power operator+(const Power& a, const Power& b) { return {a.value * b.value}; }
Power operator-(const Power& a, const Power& b) { return {a.value * b.value.conjugate()}; }

}  // namespace

GtTable::GtTable(const Fp12& g) {
    std::vector<Power> points(Comb::kPoints);
    std::vector<Power> powers(m_entries.size());
    fillCombPoints<Comb>(Power{g}, points);
    fillComb<Comb>(points, powers);
    std::vector<Fp6> bottoms(m_entries.size());  // c1, to be inverted together
    for (std::size_t i = 0; i < powers.size(); ++i) bottoms[i] = powers[i].value.c1;
    invertAll(bottoms);
    for (std::size_t i = 0; i < powers.size(); ++i) {
        m_entries[i] = (Fp6::one() + powers[i].value.c0) * bottoms[i];
    }
}

Fp12 GtTable::power(const Word256& k) const {
    const Comb digits(k, GroupOrder::kModulus);
    Fp12 product = Fp12::one();
    for (std::size_t round = Comb::kRounds; round-- > 0;) {
        if (round + 1 != Comb::kRounds) product = product.square();
        for (std::size_t table = 0; table < Comb::kTables; ++table) {
            Fp6 a =
                lookUp<Comb::kTableSize>(&m_entries[table * Comb::kTableSize], digits.index(table, round));
            a = select(digits.negative(table, round), -a, a);
            product = {product.c0 * a + product.c1.timesS(), product.c0 + product.c1 * a};
        }
    }
    product.c1 = select(digits.negated(), -product.c1, product.c1);
    return product * product.conjugate().inverse();
}

}  // namespace vloxlib::sm9
