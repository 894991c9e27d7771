#include <quilcrypto/sm9/Word256.h>

namespace vloxlib::sm9 {
namespace {

/// @brief sum + a b + carry, of which the low word is returned and the high word becomes carry; it can't run
/// over.
#ifdef __SIZEOF_INT128__
__extension__ using Uint128 = unsigned __int128;

std::uint64_t multiplyAdd(std::uint64_t sum, std::uint64_t a, std::uint64_t b, std::uint64_t& carry) {
    const Uint128 total = static_cast<Uint128>(a) * b + sum + carry;
    carry = static_cast<std::uint64_t>(total >> 64);
    return static_cast<std::uint64_t>(total);
}
#else
std::uint64_t multiplyAdd(std::uint64_t sum, std::uint64_t a, std::uint64_t b, std::uint64_t& carry) {
    const std::uint64_t low = 0xffffffffU;
    const std::uint64_t ll = (a & low) * (b & low);
    const std::uint64_t lh = (a & low) * (b >> 32) + (ll >> 32);
    const std::uint64_t hl = (a >> 32) * (b & low) + (lh & low);
    std::uint64_t high = (a >> 32) * (b >> 32) + (lh >> 32) + (hl >> 32);
    std::uint64_t result = (hl << 32) | (ll & low);
    result += sum;
    high += static_cast<std::uint64_t>(result < sum);
    result += carry;
    high += static_cast<std::uint64_t>(result < carry);
    carry = high;
    return result;
}
#endif

}  // namespace

Word256 fromBigEndian(const std::uint8_t* bytes) {
    Word256 a{};
    for (std::size_t i = 0; i < 32; ++i) a[3 - i / 8] = (a[3 - i / 8] << 8) | bytes[i];
    return a;
}

void toBigEndian(const Word256& a, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < 32; ++i) {
        bytes[i] = static_cast<std::uint8_t>(a[3 - i / 8] >> (56 - i % 8 * 8));
    }
}

// Word by word: add a b[i], then the multiple of m that makes the lowest word zero, and drop that word. What
// is left stays below 2m.
Word256 montgomeryProductPortable(const Word256& a, const Word256& b, const Modulus& m) {
    std::uint64_t t[5] = {};
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < 4; ++j) t[j] = multiplyAdd(t[j], a[j], b[i], carry);
        std::uint64_t over = 0;
        const std::uint64_t top = addWithCarry(t[4], carry, over);

        const std::uint64_t factor = t[0] * m.negativeInverse;
        carry = 0;
        multiplyAdd(t[0], factor, m.value[0], carry);
        for (std::size_t j = 1; j < 4; ++j) t[j - 1] = multiplyAdd(t[j], factor, m.value[j], carry);
        std::uint64_t overAgain = 0;
        t[3] = addWithCarry(top, carry, overAgain);
        t[4] = over + overAgain;
    }
    const Word256 product{t[0], t[1], t[2], t[3]};
    std::uint64_t borrow = 0;
    const Word256 reduced = subtract(product, m.value, borrow);
    return select(0 - (borrow & (t[4] ^ 1)), product, reduced);
}

#ifdef VLOX_SM9_X86_64

// The whole product first, then its reduction: the two overlap better than the alternation of the portable
// form. The words of the sum stay in registers that change their places instead of being shifted.
// MULTIPLY_ADD: x += word * factor + carry, and the high word goes to the next carry.
#define MULTIPLY_ADD_FIRST(word, x) \
    "movq " word                    \
    ", %%rax\n\t"                   \
    "mulq %[factor]\n\t"            \
    "addq %%rax, " x                \
    "\n\t"                          \
    "adcq $0, %%rdx\n\t"            \
    "movq %%rdx, %[carry]\n\t"
#define MULTIPLY_ADD(word, x, high) \
    "movq " word                    \
    ", %%rax\n\t"                   \
    "mulq %[factor]\n\t"            \
    "addq %%rax, " x                \
    "\n\t"                          \
    "adcq $0, %%rdx\n\t"            \
    "addq %[carry], " x             \
    "\n\t"                          \
    "adcq $0, %%rdx\n\t"            \
    "movq %%rdx, " high "\n\t"
// x4:x3:x2:x1:x0 = x3:x2:x1:x0 + factor * the four words at base
#define MULTIPLY_ROW(base, x0, x1, x2, x3, x4)   \
    MULTIPLY_ADD_FIRST("0(" base ")", x0)        \
    MULTIPLY_ADD("8(" base ")", x1, "%[carry]")  \
    MULTIPLY_ADD("16(" base ")", x2, "%[carry]") \
    MULTIPLY_ADD("24(" base ")", x3, x4)

namespace {

void multiply(std::uint64_t* product, const Word256& a, const Word256& b) {
    std::uint64_t t0, t1, t2, t3, t4, factor, carry;
#define PRODUCT_WORD(word, low, high) \
    "movq " word                      \
    ", %%rax\n\t"                     \
    "mulq %[factor]\n\t"              \
    "addq %%rax, " low                \
    "\n\t"                            \
    "adcq $0, %%rdx\n\t"              \
    "movq %%rdx, " high "\n\t"
#define PRODUCT_ROW(offset, x0, x1, x2, x3, x4)                                                            \
    "movq " offset "(%[b]), %[factor]\n\t" MULTIPLY_ROW("%[a]", x0, x1, x2, x3, x4) "movq " x0 ", " offset \
                                                                                    "(%[product])\n\t"
    __asm__ volatile(
        "movq 0(%[b]), %[factor]\n\t"
        "movq 0(%[a]), %%rax\n\t"
        "mulq %[factor]\n\t"
        "movq %%rax, 0(%[product])\n\t"
        "movq %%rdx, %[t1]\n\t"
        PRODUCT_WORD("8(%[a])", "%[t1]", "%[t2]")
        PRODUCT_WORD("16(%[a])", "%[t2]", "%[t3]")
        PRODUCT_WORD("24(%[a])", "%[t3]", "%[t4]")
        PRODUCT_ROW("8", "%[t1]", "%[t2]", "%[t3]", "%[t4]", "%[t0]")
        PRODUCT_ROW("16", "%[t2]", "%[t3]", "%[t4]", "%[t0]", "%[t1]")
        PRODUCT_ROW("24", "%[t3]", "%[t4]", "%[t0]", "%[t1]", "%[t2]")
        "movq %[t4], 32(%[product])\n\t"
        "movq %[t0], 40(%[product])\n\t"
        "movq %[t1], 48(%[product])\n\t"
        "movq %[t2], 56(%[product])\n\t"
        : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [factor] "=&r"(factor),
          [carry] "=&r"(carry)
        : [a] "r"(a.data()), [b] "r"(b.data()), [product] "r"(product)
        : "rax", "rdx", "cc", "memory");
#undef PRODUCT_ROW
#undef PRODUCT_WORD
}

void reduce(Word256& result, const std::uint64_t* product, const Modulus& m) {
    std::uint64_t t0 = product[0], t1 = product[1], t2 = product[2], t3 = product[3], t4, factor, carry;
#define REDUCE_ROW(x0, x1, x2, x3, x4) \
    "movq 32(%[m]), %[factor]\n\t"     \
    "imulq " x0 ", %[factor]\n\t" MULTIPLY_ROW("%[m]", x0, x1, x2, x3, x4)
    __asm__ volatile(
        REDUCE_ROW("%[t0]", "%[t1]", "%[t2]", "%[t3]", "%[t4]")
        REDUCE_ROW("%[t1]", "%[t2]", "%[t3]", "%[t4]", "%[t0]")
        REDUCE_ROW("%[t2]", "%[t3]", "%[t4]", "%[t0]", "%[t1]")
        REDUCE_ROW("%[t3]", "%[t4]", "%[t0]", "%[t1]", "%[t2]")
        "xorl %k[carry], %k[carry]\n\t"
        "addq 32(%[product]), %[t4]\n\t"
        "adcq 40(%[product]), %[t0]\n\t"
        "adcq 48(%[product]), %[t1]\n\t"
        "adcq 56(%[product]), %[t2]\n\t"
        "adcq $0, %[carry]\n\t"
        "movq %[t4], %[t3]\n\t"
        "movq %[t0], %[factor]\n\t"
        "movq %[t1], %%rax\n\t"
        "movq %[t2], %%rdx\n\t"
        "subq 0(%[m]), %[t4]\n\t"
        "sbbq 8(%[m]), %[t0]\n\t"
        "sbbq 16(%[m]), %[t1]\n\t"
        "sbbq 24(%[m]), %[t2]\n\t"
        "sbbq $0, %[carry]\n\t"
        "cmovcq %[t3], %[t4]\n\t"
        "cmovcq %[factor], %[t0]\n\t"
        "cmovcq %%rax, %[t1]\n\t"
        "cmovcq %%rdx, %[t2]\n\t"
        // in whole vectors: a copy that follows would have to wait for single words to reach memory
        "movq %[t4], %%xmm0\n\t"
        "movq %[t0], %%xmm1\n\t"
        "movq %[t1], %%xmm2\n\t"
        "movq %[t2], %%xmm3\n\t"
        "punpcklqdq %%xmm1, %%xmm0\n\t"
        "punpcklqdq %%xmm3, %%xmm2\n\t"
        "movdqu %%xmm0, 0(%[result])\n\t"
        "movdqu %%xmm2, 16(%[result])\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "=&r"(t4), [factor] "=&r"(factor),
          [carry] "=&r"(carry)
        : [product] "r"(product), [m] "r"(&m), [result] "r"(result.data())
        : "rax", "rdx", "xmm0", "xmm1", "xmm2", "xmm3", "cc", "memory");
#undef REDUCE_ROW
}

}  // namespace

#undef MULTIPLY_ROW
#undef MULTIPLY_ADD
#undef MULTIPLY_ADD_FIRST

void montgomeryProduct(Word256& result, const Word256& a, const Word256& b, const Modulus& m) {
    static_assert(offsetof(Modulus, negativeInverse) == 32, "the reduction reads it behind the modulus");
    std::uint64_t product[8];
    multiply(product, a, b);
    reduce(result, product, m);
}

#endif

}  // namespace vloxlib::sm9
