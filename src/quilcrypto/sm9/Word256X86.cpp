#include <quilcrypto/sm9/Word256.h>

#ifdef VLOX_SM9_X86_64

// The Montgomery product for x86-64: the whole product first, then its reduction, since the two overlap
// better than the alternation of the portable form. Each step exists twice, with MULX and two carry chains
// for the processors that have them (most since 2015) and with MUL for the others.
//
// Why assembler: the same steps in _mulx_u64 and _addcarry_u64 take 1.4 times as long under GCC 12, which
// moves each carry through a register, and 1.2 times under Clang 14 (products that don't wait for each other;
// in a chain 1.3 and 1.0 times). All of SM9 is made of this product.
//
// How to check it. Read x4:x3:x2:x1:x0 as x0 + x1 2^64 + .. + x4 2^256, and f for the factor of a row.
// - A row adds f times the four words at base to x3:x2:x1:x0. The sum is at most (2^256 - 1) + (2^64 -
// 1)(2^256 - 1) =
//   2^64 (2^256 - 1), so it fits into five words. x4 is written, not added to.
// - MUL_STEP: word * f = rdx:rax. The low half is added to its word of the sum, the carry of that and,
// WITH_CARRY, the
//   high half of the step before (in `spare`) go along; what runs over is the next high half. rdx never
//   overflows: a product's high half is at most 2^64 - 2, and both carries together stay within f w + x +
//   spare < 2^128.
// - MULX_ROW: the low halves go through the chain of the carry flag (adcx), the high halves, one word further
// up, through
//   that of the overflow flag (adox). `xorl` clears both flags and leaves a zero, with which both chains end
//   in x4.
// - PRODUCT: row i adds a b_i. Its lowest word is word i of the product for good, so it is stored, and its
// register
//   becomes the x4 of the next row: that is why the registers move by one place from row to row.
// - REDUCE: row i takes f = -x0 / m mod 2^64, so that x0 + f m_0 is 0 mod 2^64. That word is dropped, the
// register
//   moves on as above. Four rows divide by 2^256: (product + F m) / 2^256 < 2m, with F < 2^256.
// - The end: the upper half of the product is added, the carry kept in `spare`. m is subtracted from all five
// words; a
//   borrow out of the fifth says that the sum was below m, and cmovc takes it back.
// The tests compare both forms with the portable one and with OpenSSL's numbers.
namespace vloxlib::sm9 {
namespace {

// clang-format off

// FIRST_ROW: x4:x3:x2:x1:x0 = factor * the four words at base
// ROW:       x4:x3:x2:x1:x0 = x3:x2:x1:x0 + factor * the four words at base
// The factor stands in %[factor] for MUL and in %rdx for MULX.
#define MUL_STEP(word, low, high)                                                                       \
    "movq " word ", %%rax\n\t"    "mulq %[factor]\n\t"     "addq %%rax, " low "\n\t"                    \
    "adcq $0, %%rdx\n\t"          "movq %%rdx, " high "\n\t"
#define MUL_STEP_WITH_CARRY(word, low, high)                                                            \
    "movq " word ", %%rax\n\t"    "mulq %[factor]\n\t"     "addq %%rax, " low "\n\t"                    \
    "adcq $0, %%rdx\n\t"          "addq %[spare], " low "\n\t"                                          \
    "adcq $0, %%rdx\n\t"          "movq %%rdx, " high "\n\t"
#define MUL_FIRST_ROW(base, x0, x1, x2, x3, x4)                                                         \
    "movq 0(" base "), %%rax\n\t" "mulq %[factor]\n\t"                                                  \
    "movq %%rax, " x0 "\n\t"      "movq %%rdx, " x1 "\n\t"                                              \
    MUL_STEP("8(" base ")", x1, x2) MUL_STEP("16(" base ")", x2, x3) MUL_STEP("24(" base ")", x3, x4)
#define MUL_ROW(base, x0, x1, x2, x3, x4)                                                               \
    MUL_STEP("0(" base ")", x0, "%[spare]")                                                             \
    MUL_STEP_WITH_CARRY("8(" base ")", x1, "%[spare]")                                                  \
    MUL_STEP_WITH_CARRY("16(" base ")", x2, "%[spare]")                                                 \
    MUL_STEP_WITH_CARRY("24(" base ")", x3, x4)

#define MULX_FIRST_ROW(base, x0, x1, x2, x3, x4)                                                        \
    "mulxq 0(" base "), " x0 ", " x1 "\n\t"                                                             \
    "mulxq 8(" base "), %%rax, " x2 "\n\t"      "addq %%rax, " x1 "\n\t"                                \
    "mulxq 16(" base "), %%rax, " x3 "\n\t"     "adcq %%rax, " x2 "\n\t"                                \
    "mulxq 24(" base "), %%rax, " x4 "\n\t"     "adcq %%rax, " x3 "\n\t"      "adcq $0, " x4 "\n\t"
#define MULX_STEP(word, low, high)                                                                      \
    "mulxq " word ", %%rax, %[spare]\n\t"       "adcxq %%rax, " low "\n\t"                              \
    "adoxq %[spare], " high "\n\t"
#define MULX_ROW(base, x0, x1, x2, x3, x4)                                                              \
    "xorl %k[factor], %k[factor]\n\t"                                                                   \
    MULX_STEP("0(" base ")", x0, x1) MULX_STEP("8(" base ")", x1, x2) MULX_STEP("16(" base ")", x2, x3) \
    "mulxq 24(" base "), %%rax, " x4 "\n\t"     "adcxq %%rax, " x3 "\n\t"                               \
    "adoxq %[factor], " x4 "\n\t"               "adcxq %[factor], " x4 "\n\t"

// The eight words of a b, at [product]
#define PRODUCT_ROW(ROW, FACTOR, offset, x0, x1, x2, x3, x4)                                            \
    "movq " offset "(%[b]), " FACTOR "\n\t"                                                             \
    ROW("%[a]", x0, x1, x2, x3, x4)                                                                     \
    "movq " x0 ", " offset "(%[product])\n\t"
#define PRODUCT(FIRST_ROW, ROW, FACTOR)                                                                 \
    PRODUCT_ROW(FIRST_ROW, FACTOR, "0", "%[t0]", "%[t1]", "%[t2]", "%[t3]", "%[t4]")                    \
    PRODUCT_ROW(ROW, FACTOR, "8", "%[t1]", "%[t2]", "%[t3]", "%[t4]", "%[t0]")                          \
    PRODUCT_ROW(ROW, FACTOR, "16", "%[t2]", "%[t3]", "%[t4]", "%[t0]", "%[t1]")                         \
    PRODUCT_ROW(ROW, FACTOR, "24", "%[t3]", "%[t4]", "%[t0]", "%[t1]", "%[t2]")                         \
    "movq %[t4], 32(%[product])\n\t"                                                                    \
    "movq %[t0], 40(%[product])\n\t"                                                                    \
    "movq %[t1], 48(%[product])\n\t"                                                                    \
    "movq %[t2], 56(%[product])\n\t"

// Four multiples of the modulus make the four low words zero; the high words are added, and the modulus is
// subtracted where that leaves no borrow. The result is stored in whole vectors: a copy that follows would have to
// wait for single words to reach memory.
#define REDUCE_ROW(ROW, FACTOR, x0, x1, x2, x3, x4)                                                     \
    "movq 32(%[m]), " FACTOR "\n\t"                                                                     \
    "imulq " x0 ", " FACTOR "\n\t"                                                                      \
    ROW("%[m]", x0, x1, x2, x3, x4)
#define REDUCE(ROW, FACTOR)                                                                             \
    REDUCE_ROW(ROW, FACTOR, "%[t0]", "%[t1]", "%[t2]", "%[t3]", "%[t4]")                                \
    REDUCE_ROW(ROW, FACTOR, "%[t1]", "%[t2]", "%[t3]", "%[t4]", "%[t0]")                                \
    REDUCE_ROW(ROW, FACTOR, "%[t2]", "%[t3]", "%[t4]", "%[t0]", "%[t1]")                                \
    REDUCE_ROW(ROW, FACTOR, "%[t3]", "%[t4]", "%[t0]", "%[t1]", "%[t2]")                                \
    "xorl %k[spare], %k[spare]\n\t"                                                                     \
    "addq 32(%[product]), %[t4]\n\t"                                                                    \
    "adcq 40(%[product]), %[t0]\n\t"                                                                    \
    "adcq 48(%[product]), %[t1]\n\t"                                                                    \
    "adcq 56(%[product]), %[t2]\n\t"                                                                    \
    "adcq $0, %[spare]\n\t"                                                                             \
    "movq %[t4], %[t3]\n\t"              "subq 0(%[m]), %[t4]\n\t"                                      \
    "movq %[t0], %[factor]\n\t"          "sbbq 8(%[m]), %[t0]\n\t"                                      \
    "movq %[t1], %%rax\n\t"              "sbbq 16(%[m]), %[t1]\n\t"                                     \
    "movq %[t2], %%rdx\n\t"              "sbbq 24(%[m]), %[t2]\n\t"                                     \
    "sbbq $0, %[spare]\n\t"                                                                             \
    "cmovcq %[t3], %[t4]\n\t"            "movq %[t4], %%xmm0\n\t"                                       \
    "cmovcq %[factor], %[t0]\n\t"        "movq %[t0], %%xmm1\n\t"                                       \
    "cmovcq %%rax, %[t1]\n\t"            "movq %[t1], %%xmm2\n\t"                                       \
    "cmovcq %%rdx, %[t2]\n\t"            "movq %[t2], %%xmm3\n\t"                                       \
    "punpcklqdq %%xmm1, %%xmm0\n\t"      "movdqu %%xmm0, 0(%[result])\n\t"                              \
    "punpcklqdq %%xmm3, %%xmm2\n\t"      "movdqu %%xmm2, 16(%[result])\n\t"

// clang-format on

struct Mul {
    static void product(std::uint64_t* product, const Word256& a, const Word256& b) {
        std::uint64_t t0, t1, t2, t3, t4, factor, spare;
        __asm__ volatile(PRODUCT(MUL_FIRST_ROW, MUL_ROW, "%[factor]")
                         : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4),
                           [factor] "=&r"(factor), [spare] "=&r"(spare)
                         : [a] "r"(a.data()), [b] "r"(b.data()), [product] "r"(product)
                         : "rax", "rdx", "cc", "memory");
    }
    static void reduce(Word256& result, const std::uint64_t* product, const Modulus& m) {
        std::uint64_t t0 = product[0], t1 = product[1], t2 = product[2], t3 = product[3], t4, factor, spare;
        __asm__ volatile(REDUCE(MUL_ROW, "%[factor]")
                         : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "=&r"(t4),
                           [factor] "=&r"(factor), [spare] "=&r"(spare)
                         : [product] "r"(product), [m] "r"(&m), [result] "r"(result.data())
                         : "rax", "rdx", "xmm0", "xmm1", "xmm2", "xmm3", "cc", "memory");
    }
};

struct Mulx {
    static void product(std::uint64_t* product, const Word256& a, const Word256& b) {
        std::uint64_t t0, t1, t2, t3, t4, factor, spare;
        __asm__ volatile(PRODUCT(MULX_FIRST_ROW, MULX_ROW, "%%rdx")
                         : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4),
                           [factor] "=&r"(factor), [spare] "=&r"(spare)
                         : [a] "r"(a.data()), [b] "r"(b.data()), [product] "r"(product)
                         : "rax", "rdx", "cc", "memory");
    }
    static void reduce(Word256& result, const std::uint64_t* product, const Modulus& m) {
        std::uint64_t t0 = product[0], t1 = product[1], t2 = product[2], t3 = product[3], t4, factor, spare;
        __asm__ volatile(REDUCE(MULX_ROW, "%%rdx")
                         : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "=&r"(t4),
                           [factor] "=&r"(factor), [spare] "=&r"(spare)
                         : [product] "r"(product), [m] "r"(&m), [result] "r"(result.data())
                         : "rax", "rdx", "xmm0", "xmm1", "xmm2", "xmm3", "cc", "memory");
    }
};

template <typename Steps>
void productBy(Word256& result, const Word256& a, const Word256& b, const Modulus& m) {
    static_assert(offsetof(Modulus, negativeInverse) == 32, "the reduction reads it behind the modulus");
    std::uint64_t product[8];
    Steps::product(product, a, b);
    Steps::reduce(result, product, m);
}

// CPUID leaf 7: bit 8 of EBX is BMI2 (MULX), bit 19 ADX (two carry chains). False before it is set: MUL is
// right too.
const bool s_hasMulx = [] {
    unsigned int highest = 0, b = 0, c = 0, d = 0;
    __asm__("cpuid" : "+a"(highest), "=b"(b), "=c"(c), "=d"(d));
    if (highest < 7) return false;
    unsigned int a = 7;
    c = 0;
    __asm__("cpuid" : "+a"(a), "=b"(b), "+c"(c), "=d"(d));
    return ((b >> 8) & (b >> 19) & 1) != 0;
}();

}  // namespace

void montgomeryProduct(Word256& result, const Word256& a, const Word256& b, const Modulus& m) {
    if (s_hasMulx) {
        productBy<Mulx>(result, a, b, m);
    } else {
        montgomeryProductByMul(result, a, b, m);
    }
}

void montgomeryProductByMul(Word256& result, const Word256& a, const Word256& b, const Modulus& m) {
    productBy<Mul>(result, a, b, m);
}

}  // namespace vloxlib::sm9

#endif
