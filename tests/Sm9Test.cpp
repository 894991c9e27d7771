// SM9 from the field up. The vectors stand in data/sm9-vectors.json: those that the standard prints and those
// that two unrelated programs agreed on; the field is compared with OpenSSL's integers.
#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <quilcrypto/Sm2Curve.h>
#include <quilcrypto/sm9/Curve.h>
#include <quilcrypto/sm9/Hash.h>
#include <quilcrypto/sm9/Pairing.h>
#include <quilcrypto/sm9/Sm9.h>

#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/Vectors.h"

using namespace vloxlib::sm9;

namespace {

const rapidjson::Value& vectors(const char* section) {
    static const rapidjson::Document document = vlox_test::vectors("sm9-vectors.json");
    return document[section];
}

Bytes fromHex(const std::string& digits) {
    const std::string bytes = vlox_test::fromHex(digits);
    return Bytes(bytes.begin(), bytes.end());
}

std::string toHex(ByteView bytes) { return vlox_test::toHex(std::string(bytes.begin(), bytes.end())); }

std::string text(const rapidjson::Value& row, const char* member) { return row[member].GetString(); }
Bytes bytesOf(const rapidjson::Value& row, const char* member) { return fromHex(text(row, member)); }

// A list of twelve coordinates
std::string joined(const rapidjson::Value& list) {
    std::string all;
    for (const auto& coordinate : list.GetArray()) all += coordinate.GetString();
    return all;
}

std::string hexOf(const Fp12& a) {
    Bytes bytes(Fp12::kSize);
    a.toBytes(bytes.data());
    return toHex(bytes);
}

std::string hexOf(const Word256& a) {
    Bytes bytes(32);
    toBigEndian(a, bytes.data());
    return toHex(bytes);
}

Word256 wordsOf(const std::string& hex) {
    return fromBigEndian(fromHex(std::string(64 - hex.size(), '0') + hex).data());
}

G1Point g1(const Bytes& bytes) { return G1Point::from(readG1(bytes.data()).value()); }
G2Affine g2(const Bytes& bytes) { return readG2(bytes.data()).value(); }

template <typename F>
bool same(const Point<F>& a, const Point<F>& b) {
    return a.isInfinity() || b.isInfinity() ? a.isInfinity() == b.isInfinity()
                                            : a.x * b.z == b.x * a.z && a.y * b.z == b.y * a.z;
}

// The seed shows with every failure, so that a run can be repeated.
class Sm9 : public testing::Test {
protected:
    Word256 randomWords() { return {m_random(), m_random(), m_random(), m_random()}; }
    Word256 randomScalar() { return Fn::fromInteger(randomWords()).toInteger(); }
    Fp randomFp() { return Fp::fromInteger(randomWords()); }
    Fp2 randomFp2() { return {randomFp(), randomFp()}; }
    Fp6 randomFp6() { return {randomFp2(), randomFp2(), randomFp2()}; }
    Bytes randomBytes(std::size_t size) {
        Bytes bytes(size);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(m_random());
        return bytes;
    }
    std::size_t randomBelow(std::size_t limit) { return m_random() % limit; }

    const std::uint64_t m_seed = std::random_device()();
    testing::ScopedTrace m_trace{__FILE__, __LINE__, "seed " + std::to_string(m_seed)};
    std::mt19937_64 m_random{m_seed};
};

struct Release {
    void operator()(BIGNUM* number) const { BN_free(number); }
    void operator()(BN_CTX* context) const { BN_CTX_free(context); }
};
using Number = std::unique_ptr<BIGNUM, Release>;

Number numberOf(const Word256& a) {
    Bytes bytes(32);
    toBigEndian(a, bytes.data());
    return Number(BN_bin2bn(bytes.data(), 32, nullptr));
}

std::string hexOf(const Number& a) {
    Bytes bytes(32);
    EXPECT_EQ(32, BN_bn2binpad(a.get(), bytes.data(), 32));
    return toHex(bytes);
}

}  // namespace

TEST_F(Sm9, ConstantsFollowFromTheParameterT) {
    const std::unique_ptr<BN_CTX, Release> context(BN_CTX_new());
    const Number t = numberOf({kT, 0, 0, 0});
    const auto polynomial = [&](std::initializer_list<unsigned long> coefficients) {
        Number sum(BN_new());
        BN_zero(sum.get());
        for (const unsigned long coefficient : coefficients) {  // Horner, the highest power first
            BN_mul(sum.get(), sum.get(), t.get(), context.get());
            BN_add_word(sum.get(), coefficient);
        }
        return hexOf(sum);
    };
    EXPECT_EQ(polynomial({36, 36, 24, 6, 1}), hexOf(FieldPrime::kModulus.value));
    EXPECT_EQ(polynomial({36, 36, 18, 6, 1}), hexOf(GroupOrder::kModulus.value));

    const auto& words = vectors("parameters")["derived_word_constants"];
    EXPECT_EQ(text(words, "p_inv64"),
              hexOf(Word256{FieldPrime::kModulus.negativeInverse, 0, 0, 0}).substr(48));
    EXPECT_EQ(text(words, "n_inv64"),
              hexOf(Word256{GroupOrder::kModulus.negativeInverse, 0, 0, 0}).substr(48));
    EXPECT_EQ(text(words, "R2_mod_p"), hexOf(FieldPrime::kModulus.rSquared));
    EXPECT_EQ(text(words, "R2_mod_n"), hexOf(GroupOrder::kModulus.rSquared));
    EXPECT_EQ(text(vectors("parameters")["frobenius"], "w_to_p_minus_1"), hexOf(wToPMinusOne().toInteger()));
}

TEST_F(Sm9, FieldsAgreeWithOpenSsl) {
    const std::unique_ptr<BN_CTX, Release> context(BN_CTX_new());
    const auto check = [&](auto zero, const Modulus& modulus) {
        using Field = decltype(zero);
        const Number m = numberOf(modulus.value);
        std::uint64_t borrow = 0;
        std::vector<Word256> values = {{0, 0, 0, 0},          {1, 0, 0, 0},
                                       {2, 0, 0, 0},          {0, 1, 0, 0},
                                       {0, 0, 0, 1ULL << 63}, modulus.r,
                                       {~0ULL, 0, 0, 0},      {~0ULL, ~0ULL, ~0ULL, 0x7fffffffffffffffULL}};
        for (const std::uint64_t below : {1U, 2U, 3U}) {
            values.push_back(subtract(modulus.value, Word256{below, 0, 0, 0}, borrow));
        }
        for (int i = 0; i < 40; ++i) values.push_back(Field::fromInteger(randomWords()).toInteger());
        const Number expected(BN_new());
        for (const Word256& a : values) {
            for (const Word256& b : values) {
                SCOPED_TRACE(hexOf(a) + " " + hexOf(b));
                const Field x = Field::fromInteger(a);
                const Field y = Field::fromInteger(b);
                BN_mod_add(expected.get(), numberOf(a).get(), numberOf(b).get(), m.get(), context.get());
                ASSERT_EQ(hexOf(expected), hexOf((x + y).toInteger()));
                BN_mod_sub(expected.get(), numberOf(a).get(), numberOf(b).get(), m.get(), context.get());
                ASSERT_EQ(hexOf(expected), hexOf((x - y).toInteger()));
                BN_mod_mul(expected.get(), numberOf(a).get(), numberOf(b).get(), m.get(), context.get());
                ASSERT_EQ(hexOf(expected), hexOf((x * y).toInteger()));
                // the forms for other compilers and processors must not fall behind
                Word256 product;
                montgomeryProduct(product, a, b, modulus);
                ASSERT_EQ(product, montgomeryProductPortable(a, b, modulus));
#ifdef VLOX_SM9_X86_64
                montgomeryProductByMul(product, a, b, modulus);
                ASSERT_EQ(product, montgomeryProductPortable(a, b, modulus));
#endif
                ASSERT_EQ(addMod(a, b, modulus), addModPortable(a, b, modulus.value));
                ASSERT_EQ(subtractMod(a, b, modulus), subtractModPortable(a, b, modulus.value));
            }
            if (isZero(a)) continue;
            BN_mod_inverse(expected.get(), numberOf(a).get(), m.get(), context.get());
            ASSERT_EQ(hexOf(expected), hexOf(Field::fromInteger(a).inverse().toInteger()));
        }
        EXPECT_TRUE(Field().inverse().isZero());
        EXPECT_FALSE(Field::fromBytes(fromHex(hexOf(modulus.value)).data()));
        EXPECT_FALSE(Field::fromBytes(Bytes(32, 0xff).data()));
        EXPECT_TRUE(Field::fromInteger(modulus.value).isZero());  // any 256 bits are reduced
        EXPECT_TRUE(Field::fromInteger({~0ULL, ~0ULL, ~0ULL, ~0ULL}) + Field::one() ==
                    Field::fromInteger(modulus.r));
    };
    check(Fp(), FieldPrime::kModulus);
    check(Fn(), GroupOrder::kModulus);
    check(vloxlib::sm2::Fp(), vloxlib::sm2::FieldPrime::kModulus);
}

TEST_F(Sm9, TowerKeepsTheLawsOfAField) {
    const Fp2 u{Fp(), Fp::one()};
    EXPECT_TRUE(u * u == (Fp2{-Fp::fromInteger(2), Fp()}));
    const Fp6 s{Fp2(), Fp2::one(), Fp2()};
    EXPECT_TRUE(s * s * s == (Fp6{u, Fp2(), Fp2()}));
    const Fp12 w{Fp6(), Fp6::one()};
    EXPECT_TRUE(w * w == (Fp12{s, Fp6()}));
    for (int round = 0; round < 8; ++round) {
        const Fp2 a = randomFp2();
        EXPECT_TRUE(a.square() == a * a);
        EXPECT_TRUE(a.timesU() == a * u);
        EXPECT_TRUE(a * a.inverse() == Fp2::one());
        const Fp6 b = randomFp6();
        EXPECT_TRUE(b.timesS() == b * s);
        EXPECT_TRUE(b * b.inverse() == Fp6::one());
        const Fp12 c{b, randomFp6()};
        const Fp12 d{randomFp6(), randomFp6()};
        EXPECT_TRUE(c * (c + d) == c * c + d * c);
        EXPECT_TRUE(c.square() == c * c);
        EXPECT_TRUE(c * c.inverse() == Fp12::one());
        const Fp2 e = randomFp2();
        EXPECT_TRUE(c.timesLine(a, e) == c * (Fp12{{e, a, Fp2()}, {Fp2(), Fp2::one(), Fp2()}}));

        Fp12 power = Fp12::one();  // c^p
        for (std::size_t bit = 256; bit-- > 0;) {
            power = power.square();
            if ((FieldPrime::kModulus.value[bit / 64] >> (bit % 64)) & 1) power = power * c;
        }
        EXPECT_TRUE(c.frobenius(1) == power);
        EXPECT_TRUE(c.frobenius(2) == power.frobenius(1));
        EXPECT_TRUE(c.frobenius(3) == power.frobenius(2));
        EXPECT_TRUE(c.frobenius(3).frobenius(3) == c.conjugate());
        const Fp12 cyclotomic = finalPowerEasyPart(c);
        EXPECT_TRUE(cyclotomic.cyclotomicSquare() == cyclotomic * cyclotomic);
    }
}

TEST_F(Sm9, PointsKeepTheLawsOfAGroup) {
    const auto check = [&](const auto& p) {
        using P = std::decay_t<decltype(p)>;
        const P none = P::infinity();
        EXPECT_TRUE(p.toAffine().isOnCurve());
        EXPECT_TRUE(same(p + p, p.doubled()));
        EXPECT_TRUE(same(p + none, p) && same(none + p, p));
        EXPECT_TRUE((p + -p).isInfinity() && (none + none).isInfinity() && none.doubled().isInfinity());
        P sum = none;
        for (std::uint64_t k = 0; k < 40; ++k, sum = sum + p) {
            SCOPED_TRACE(k);
            EXPECT_TRUE(same(sum, multiply({k, 0, 0, 0}, p)));
            const Word256 fromAbove = (-Fn::fromInteger(k)).toInteger();  // n - k
            EXPECT_TRUE(same(-sum, multiply(fromAbove, p)));
        }
        EXPECT_TRUE(multiply(GroupOrder::kModulus.value, p).isInfinity());
        const Word256 a = randomScalar();
        const Word256 b = randomScalar();
        EXPECT_TRUE(same(multiply(a, multiply(b, p)),
                         multiply((Fn::fromInteger(a) * Fn::fromInteger(b)).toInteger(), p)));
        EXPECT_TRUE(same(multiply(a, p) + multiply(b, p),
                         multiply((Fn::fromInteger(a) + Fn::fromInteger(b)).toInteger(), p)));
    };
    const G1Point p = multiply(randomScalar(), G1Point::from(generatorP1()));
    check(p);
    check(multiply(randomScalar(), G2Point::from(generatorP2())));

    EXPECT_TRUE(same(p + p.toAffine(), p.doubled()));
    EXPECT_TRUE((p + -p.toAffine()).isInfinity());
    EXPECT_TRUE(same(G1Point::infinity() + p.toAffine(), p));
    const PointTable<Fp> table(p);
    for (std::uint64_t k = 0; k < 20; ++k) {
        for (const Word256& scalar :
             {Word256{k, 0, 0, 0}, (-Fn::fromInteger(k)).toInteger(), randomScalar()}) {
            EXPECT_TRUE(same(multiply(scalar, p), table.multiply(scalar))) << hexOf(scalar);
        }
    }
}

TEST_F(Sm9, PairingGivesThePublishedValues) {
    const auto& parameters = vectors("parameters");
    const Fp12 g = pairing(G1Point::from(generatorP1()), preparedP2());
    EXPECT_EQ(joined(parameters["e_P1_P2"]), hexOf(g));
    for (const auto& row : vectors("pairing").GetArray()) {
        SCOPED_TRACE(text(row, "name"));
        Fp12 result = pairing(g1(bytesOf(row, "G1")), PreparedG2(g2(bytesOf(row, "G2"))));
        if (row.HasMember("power")) result = GtTable(result).power(wordsOf(text(row, "power")));
        EXPECT_EQ(joined(row["result"]), hexOf(result));
    }
    // These two tell a wrong loop from a wrong final power.
    const auto& easy = vectors("easy_part_of_g");
    const Fp12 easyPart = finalPowerEasyPart(millerLoop(g1(bytesOf(easy, "ppub")), preparedP2()));
    EXPECT_EQ(joined(easy["value"]), hexOf(easyPart));
    EXPECT_EQ(joined(vectors("public_key_encryption")[0]["g"]), hexOf(finalPowerHardPart(easyPart)));
}

TEST_F(Sm9, PairingIsBilinearAndOfOrderN) {
    const G1Point p = multiply(randomScalar(), G1Point::from(generatorP1()));
    const G2Point q = multiply(randomScalar(), G2Point::from(generatorP2()));
    const PreparedG2 prepared(q.toAffine());
    const Fp12 g = pairing(p, prepared);
    EXPECT_TRUE(g != Fp12::one());
    const GtTable powers(g);
    EXPECT_TRUE(powers.power(GroupOrder::kModulus.value) == Fp12::one());
    Fp12 product = Fp12::one();
    for (std::uint64_t k = 0; k < 20; ++k, product = product * g) {
        EXPECT_TRUE(powers.power({k, 0, 0, 0}) == product);
        EXPECT_TRUE(powers.power((-Fn::fromInteger(k)).toInteger()) == product.conjugate());
    }
    for (int round = 0; round < 3; ++round) {
        const Word256 a = randomScalar();
        const Word256 b = randomScalar();
        const Word256 ab = (Fn::fromInteger(a) * Fn::fromInteger(b)).toInteger();
        EXPECT_TRUE(pairing(multiply(a, p), PreparedG2(multiply(b, q).toAffine())) == powers.power(ab));
        EXPECT_TRUE(pairing(multiply(a, p) + multiply(b, p), prepared) == powers.power(a) * powers.power(b));
    }
}

TEST_F(Sm9, EncryptionGivesTheKnownAnswersBothWays) {
    for (const auto& row : vectors("public_key_encryption").GetArray()) {
        SCOPED_TRACE(text(row, "name"));
        const Bytes id = bytesOf(row, "id_hex");
        const Bytes plain = bytesOf(row, "plain");
        const auto master = MasterKey::fromBytes(bytesOf(row, "ke"));
        ASSERT_TRUE(master);
        EXPECT_EQ(text(row, "ppub"), toHex(master->parameters().toPoint()));
        EXPECT_EQ(text(row, "h1"), hexOf(hashToScalar(id)->toInteger()));
        const auto user = master->extract(id);
        ASSERT_TRUE(user);
        EXPECT_EQ(text(row, "de"), toHex(user->toBytes()));

        const EncryptionKey key(master->parameters(), id);
        for (const char* use : {"first, by one pairing", "second, by the tables"}) {
            SCOPED_TRACE(use);
            const auto cipher = key.encryptWith(bytesOf(row, "r"), plain);
            ASSERT_TRUE(cipher);
            EXPECT_EQ(text(row, "der_sm3"), toHex(*cipher));
            EXPECT_EQ(EncryptionKey::cipherSize(plain.size()), cipher->size());
        }
        const auto again = UserKey::fromBytes(bytesOf(row, "de"), id)->decrypt(bytesOf(row, "der_sm3"));
        ASSERT_TRUE(again);
        EXPECT_EQ(toHex(plain), toHex(*again));
        EXPECT_FALSE(user->decrypt(bytesOf(row, "der_hmac"))) << "C3 is SM3(C2 || K2), not an HMAC";
    }
}

TEST_F(Sm9, EncapsulationGivesTheKnownAnswersBothWays) {
    for (const auto& row : vectors("key_encapsulation").GetArray()) {
        SCOPED_TRACE(text(row, "name"));
        const Bytes id = bytesOf(row, "id_hex");
        const EncryptionKey key(SystemParameters::fromPoint(bytesOf(row, "ppub")).value(), id);
        for (int use = 0; use < 2; ++use) {
            const auto made = key.encapsulateWith(bytesOf(row, "r"), row["K_length"].GetUint());
            ASSERT_TRUE(made);
            EXPECT_EQ(text(row, "C"), toHex(made->cipher));
            EXPECT_EQ(text(row, "K"), toHex(made->key));
        }
    }
    const auto check = [](const rapidjson::Value& row) {
        SCOPED_TRACE(text(row, "name"));
        const auto user = UserKey::fromBytes(bytesOf(row, "de"), bytesOf(row, "id_hex"));
        const auto key = user->decapsulate(bytesOf(row, "C"), text(row, "K").size() / 2);
        ASSERT_TRUE(key);
        EXPECT_EQ(text(row, "K"), toHex(*key));
        EXPECT_FALSE(user->decapsulate(bytesOf(row, "C"), 0));
        Bytes offCurve = bytesOf(row, "C");
        offCurve.back() ^= 1;
        EXPECT_FALSE(user->decapsulate(offCurve, 16));
        offCurve.pop_back();
        EXPECT_FALSE(user->decapsulate(offCurve, 16));
    };
    for (const auto& row : vectors("key_encapsulation").GetArray()) check(row);
    for (const auto& row : vectors("third_party_encapsulation").GetArray()) check(row);
}

TEST_F(Sm9, DecryptsOtherProgramsTextsAndRefusesWrongOnes) {
    for (const auto& row : vectors("third_party").GetArray()) {
        SCOPED_TRACE(text(row, "name"));
        const auto plain =
            UserKey::fromBytes(bytesOf(row, "de"), bytesOf(row, "id_hex"))->decrypt(bytesOf(row, "der"));
        ASSERT_EQ(text(row, "mac") == "sm3", plain.has_value());
        if (plain) {
            EXPECT_EQ(text(row, "plain"), toHex(*plain));
        }
    }
    for (const char* section : {"reject", "block_cipher_mode"}) {
        ASSERT_NE(0U, vectors(section).Size());
        for (const auto& row : vectors(section).GetArray()) {
            SCOPED_TRACE(text(row, "name"));
            const auto user = UserKey::fromBytes(bytesOf(row, "de"), bytesOf(row, "id_hex"));
            ASSERT_TRUE(user);
            EXPECT_FALSE(user->decrypt(bytesOf(row, "der")));
        }
    }
}

TEST_F(Sm9, ParametersAreReadInBothFormsAndNothingElse) {
    for (const auto& row : vectors("master_public_key_der").GetArray()) {
        SCOPED_TRACE(text(row, "name"));
        const Bytes der = bytesOf(row, "der");
        const auto parameters = SystemParameters::fromDer(der);
        ASSERT_TRUE(parameters);
        EXPECT_EQ(text(row, "ppub"), toHex(parameters->toPoint()));
        EXPECT_EQ(text(row, "ppub"), toHex(SystemParameters::fromDer(parameters->toDer())->toPoint()));
        if (text(row, "form") != "bare BIT STRING") {
            EXPECT_EQ(toHex(der), toHex(parameters->toDer()));
        }
        for (std::size_t size = 0; size < der.size(); ++size) {
            EXPECT_FALSE(SystemParameters::fromDer({der.data(), size})) << size << " bytes";
        }
        for (std::size_t i = 0; i < der.size(); ++i) {  // each byte matters: header, x and y alike
            Bytes altered = der;
            altered[i] ^= static_cast<std::uint8_t>(1U << randomBelow(8));
            EXPECT_FALSE(SystemParameters::fromDer(altered)) << "byte " << i;
        }
    }
    ASSERT_NE(0U, vectors("master_public_key_reject").Size());
    for (const auto& row : vectors("master_public_key_reject").GetArray()) {
        EXPECT_FALSE(SystemParameters::fromDer(bytesOf(row, "der"))) << text(row, "name");
    }
    EXPECT_FALSE(SystemParameters::fromPoint(Bytes(63)));
}

TEST_F(Sm9, RoundTripsOverIdentitiesAndLengths) {
    const auto master = MasterKey::generate();
    ASSERT_TRUE(master);
    std::vector<std::size_t> lengths = {0, 1, 16, 31, 32, 33, 63, 64, 65, 127, 128, 255, 256, 1000};
    for (int i = 0; i < 10; ++i) lengths.push_back(randomBelow(1001));
    for (const std::size_t length : lengths) {
        const Bytes id = randomBytes(randomBelow(80));
        SCOPED_TRACE(std::to_string(length) + " bytes for " + toHex(id) + " under " +
                     toHex(master->toBytes()));
        const Bytes plain = randomBytes(length);
        const EncryptionKey key(master->parameters(), id);
        const auto user = master->extract(id);
        ASSERT_TRUE(user);
        const auto first = key.encrypt(plain);
        const auto second = key.encrypt(plain);
        ASSERT_TRUE(first && second);
        EXPECT_NE(toHex(*first), toHex(*second)) << "r has to be another one each time";
        for (const Bytes& cipher : {*first, *second}) {
            const auto again = user->decrypt(cipher);
            ASSERT_TRUE(again);
            EXPECT_EQ(toHex(plain), toHex(*again));
            EXPECT_EQ(EncryptionKey::cipherSize(length), cipher.size());
        }
        const auto capsule = key.encapsulate(length + 1);
        ASSERT_TRUE(capsule);
        EXPECT_EQ(toHex(capsule->key), toHex(user->decapsulate(capsule->cipher, length + 1).value()));
        EXPECT_FALSE(key.encapsulate(0));
    }
}

TEST_F(Sm9, ATextOfOneByteIsNeverSentAsItIs) {
    // One key byte in 256 is zero: such an r must be drawn again, or given back when it was given.
    const auto master = MasterKey::generate();
    const EncryptionKey key(master->parameters(), std::string("server"));
    const Bytes plain = {0x5a};
    for (int i = 0; i < 1500; ++i) {
        const auto cipher = key.encrypt(plain);
        ASSERT_TRUE(cipher);
        ASSERT_NE(plain[0], cipher->back());
    }
    bool refused = false;
    for (int i = 0; i < 8000 && !refused; ++i)
        refused = !key.encryptWith(fromHex(hexOf(randomScalar())), plain);
    EXPECT_TRUE(refused);
}

TEST_F(Sm9, EveryByteOfACipherTextMatters) {
    const auto master = MasterKey::generate();
    const auto user = master->extract(std::string("server"));
    const auto cipher = EncryptionKey(master->parameters(), std::string("server")).encrypt(randomBytes(16));
    ASSERT_TRUE(user->decrypt(*cipher));
    for (std::size_t i = 0; i < cipher->size(); ++i) {
        EXPECT_FALSE(user->decrypt({cipher->data(), i})) << i << " bytes";
        Bytes altered = *cipher;
        altered[i] ^= static_cast<std::uint8_t>(1U << randomBelow(8));
        EXPECT_FALSE(user->decrypt(altered)) << "byte " << i;
        EXPECT_FALSE(user->decrypt(randomBytes(i)));
    }
    EXPECT_FALSE(master->extract(std::string("another"))->decrypt(*cipher));
    EXPECT_FALSE(MasterKey::generate()->extract(std::string("server"))->decrypt(*cipher));
    for (const char* der :
         {"30847fffffff020100", "308900ffffffffffffffff00", "3080020100", "308100", "30ff", "30"}) {
        EXPECT_FALSE(user->decrypt(fromHex(der))) << der;
    }
}

TEST_F(Sm9, NumbersAndPointsOutOfRangeAreRefused) {
    const Word256& n = GroupOrder::kModulus.value;
    std::uint64_t carry = 0;
    const EncryptionKey key(MasterKey::generate()->parameters(), std::string("server"));
    const Bytes bad[] = {Bytes(32),       fromHex(hexOf(n)), fromHex(hexOf(add(n, {1, 0, 0, 0}, carry))),
                         Bytes(32, 0xff), Bytes(31, 1),      Bytes(33, 1),
                         Bytes()};
    for (const Bytes& scalar : bad) {
        EXPECT_FALSE(MasterKey::fromBytes(scalar)) << toHex(scalar);
        EXPECT_FALSE(key.encryptWith(scalar, Bytes(16))) << toHex(scalar);
        EXPECT_FALSE(key.encapsulateWith(scalar, 16)) << toHex(scalar);
    }
    for (const Word256& good : {Word256{1, 0, 0, 0}, subtract(n, {1, 0, 0, 0}, carry)}) {
        EXPECT_TRUE(key.encryptWith(fromHex(hexOf(good)), Bytes(16)));
    }

    Bytes p2(128);
    write(generatorP2(), p2.data());
    EXPECT_TRUE(UserKey::fromBytes(p2, Bytes()));
    Bytes altered = p2;
    altered[127] ^= 1;
    EXPECT_FALSE(UserKey::fromBytes(altered, Bytes())) << "off the twist";
    EXPECT_FALSE(UserKey::fromBytes({p2.data(), 127}, Bytes()));
    EXPECT_FALSE(key.encapsulate(~std::size_t{0})) << "more than the key derivation can count";
    const std::string one(63, '0');
    const Bytes ofOtherOrder = fromHex(one + "1" + one + "1" +
                                       "231bf6749ac68a2223472afbd4341831d08572cf445ea350acf8d3b903d69b91"
                                       "1ebd2e84018fa77c3fc8399d45d9dc3c87862881cc21539326f6e078a8f3e5e7");
    const auto coordinate = [&](std::size_t i) {
        return Fp::fromBytes(ofOtherOrder.data() + 32 * i).value();
    };
    ASSERT_TRUE((G2Affine{{coordinate(1), coordinate(0)}, {coordinate(3), coordinate(2)}}.isOnCurve()));
    EXPECT_FALSE(UserKey::fromBytes(ofOtherOrder, Bytes())) << "on the twist, but not of order n";
}

TEST_F(Sm9, AnIdentityWithoutAKeyIsToldAtBothEnds) {
    // ke = -H1: t1 is zero for the key centre, and Q is infinity for the sender.
    const std::string id = "unlucky";
    const auto master = MasterKey::fromBytes(fromHex(hexOf((-*hashToScalar(id)).toInteger())));
    ASSERT_TRUE(master);
    EXPECT_FALSE(master->extract(id));
    EXPECT_TRUE(master->extract(id + "2"));
    const EncryptionKey key(master->parameters(), id);
    EXPECT_FALSE(key.encrypt(Bytes(16)));
    EXPECT_FALSE(key.encrypt(Bytes(16)));
}

TEST_F(Sm9, OneKeyServesSeveralThreads) {
    const auto master = MasterKey::generate();
    const EncryptionKey key(master->parameters(), std::string("server"));
    const auto user = master->extract(std::string("server"));
    std::vector<std::thread> threads;
    for (std::uint8_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (std::uint8_t j = 0; j < 4; ++j) {
                const Bytes plain = {i, j, 0xff, i};
                const auto cipher = key.encrypt(plain);
                ASSERT_TRUE(cipher);
                const auto again = user->decrypt(*cipher);
                ASSERT_TRUE(again);
                EXPECT_EQ(toHex(plain), toHex(*again));
            }
        });
    }
    for (auto& thread : threads) thread.join();
}
