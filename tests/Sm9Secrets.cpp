// Run under valgrind, which reports every branch and every address that depends on memory marked as
// undefined. The secrets are marked so; results are public and are given back before they are looked at. With
// the argument "branch" the program shows a secret on purpose, to prove that it would be seen.
#include <quilcrypto/Sm2Curve.h>
#include <quilcrypto/sm9/Curve.h>
#include <quilcrypto/sm9/Pairing.h>
#include <valgrind/memcheck.h>

#include <cstdio>
#include <cstring>

using namespace vloxlib::sm9;

namespace {

template <typename T>
T publish(T value) {
    VALGRIND_MAKE_MEM_DEFINED(&value, sizeof value);
    return value;
}

bool fits(const Fp12& a, const Fp12& b) { return publish(a) == publish(b); }

// What a sender, a key centre and a receiver do with k; the three results are the same power of e(P1, P2).
bool secretsStayHidden(const Word256& k) {
    const G1Point p = multiply(k, G1Point::from(generatorP1()));
    const G1Affine c = (tableOfP1().multiply(k) + p).toAffine();
    const Fp12 bySender = pairing(p, preparedP2());
    const Fp12 byTable = GtTable(pairing(G1Point::from(generatorP1()), preparedP2())).power(k);
    const G2Affine de = multiply(k, G2Point::from(generatorP2())).toAffine();
    const Fp12 byReceiver = pairing(G1Point::from(generatorP1()), PreparedG2(de));
    const Fn scalar = Fn::fromInteger(k);
    const Fn one = scalar * scalar.inverse();
    return publish(c).isOnCurve() && publish(one) == Fn::one() && fits(bySender, byTable) &&
           fits(bySender, byReceiver);
}

// The same for SM2: a receiver's key and a sender's number.
bool sm2SecretsStayHidden(const Word256& k) {
    const vloxlib::sm2::Point p = vloxlib::sm2::tableOfGenerator().multiply(k);
    const vloxlib::sm2::AffinePoint byTable = vloxlib::sm2::PointTable(p).multiply(k).toAffine();
    const vloxlib::sm2::AffinePoint byWindows = multiply(k, p).toAffine();
    return publish(byTable).isOnCurve() && publish(byTable).x == publish(byWindows).x;
}

}  // namespace

int main(int argc, char** argv) {
    bool good = true;
    for (const std::uint64_t low : {0x123456789abcdef1ULL, 0x0fedcba987654320ULL}) {  // odd and even
        Word256 k{low, 0x13579bdf02468aceULL, 0xfedcba9876543210ULL, 0x0123456789abcdefULL};
        VALGRIND_MAKE_MEM_UNDEFINED(&k, sizeof k);
        good = secretsStayHidden(k) && sm2SecretsStayHidden(k) && good;
        if (argc > 1 && std::strcmp(argv[1], "branch") == 0 && k[0] == 1) std::puts("one");
    }
    return good ? 0 : 2;
}
