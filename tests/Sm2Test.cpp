// SM2 beside OpenSSL's, and the cache of public keys above both.
#include "quilcrypto/Sm2.h"

#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <quilcrypto/sm9/Scalar.h>

#include <algorithm>
#include <memory>
#include <string>

#include "quilcrypto/KeyCache.h"
#include "quilcrypto/Sm2Openssl.h"

using namespace vloxlib;
using sm2::Bytes;
using sm2::ByteView;

namespace {

struct Release {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(BIGNUM* number) const { BN_free(number); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
};
template <typename T>
using Owned = std::unique_ptr<T, Release>;

// OpenSSL's own private key of the same number. It checks that the point belongs to it.
Owned<EVP_PKEY> opensslKey(const sm2::PrivateKey& key) {
    const Bytes point = key.toPoint();
    const Owned<BIGNUM> d(BN_bin2bn(key.toScalar().data(), 32, nullptr));
    const Owned<OSSL_PARAM_BLD> builder(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, "SM2", 0);
    OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_PRIV_KEY, d.get());
    const Owned<OSSL_PARAM> parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_name(nullptr, "SM2", nullptr));
    EVP_PKEY* made = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEYPAIR, parameters.get());
    const Owned<EVP_PKEY_CTX> check(EVP_PKEY_CTX_new(made, nullptr));
    EXPECT_EQ(1, EVP_PKEY_pairwise_check(check.get()));
    return Owned<EVP_PKEY>(made);
}

Bytes openedByOpenssl(EVP_PKEY* key, const Bytes& cipher) {
    const Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new(key, nullptr));
    Bytes plain(cipher.size());
    std::size_t length = plain.size();
    EVP_PKEY_decrypt_init(context.get());
    plain.resize(EVP_PKEY_decrypt(context.get(), plain.data(), &length, cipher.data(), cipher.size()) == 1
                     ? length
                     : 0);
    return plain;
}

Bytes randomBytes(std::size_t size) {
    Bytes bytes(size);
    sm9::Word256 words{};
    for (std::uint8_t& byte : bytes) {
        EXPECT_TRUE(sm9::drawScalar(words, sm2::GroupOrder::kModulus.value));
        byte = static_cast<std::uint8_t>(words[0]);
    }
    return bytes;
}

}  // namespace

// Both ways, with a key used for the first time and again. More of it: --gtest_repeat=1000.
TEST(Sm2, AgreesWithOpenssl) {
    for (int i = 0; i < 25; ++i) {
        const auto server = sm2::PrivateKey::generate();
        ASSERT_TRUE(server);
        const auto ours = sm2::EncryptionKey::fromPoint(server->toPoint());
        const auto theirs = sm2::openssl::EncryptionKey::fromPoint(server->toPoint());
        ASSERT_TRUE(ours && theirs);
        const Owned<EVP_PKEY> key = opensslKey(*server);
        const Bytes plain = randomBytes(1 + static_cast<std::size_t>(i) * i % 80);
        for (const char* use : {"used once", "used again"}) {
            SCOPED_TRACE(use);
            const auto sealed = ours->encrypt(plain);
            ASSERT_TRUE(sealed && sealed->size() <= sm2::EncryptionKey::capacityFor(plain.size()));
            EXPECT_EQ(plain, openedByOpenssl(key.get(), *sealed));
            const auto opened = server->decrypt(*theirs->encrypt(plain));
            ASSERT_TRUE(opened);
            EXPECT_TRUE(std::equal(plain.begin(), plain.end(), opened->begin(), opened->end()));
        }
    }
}

// The group's edges: small multiples, those next to the order, and the ends of the digits' ranges.
TEST(Sm2, TablesAndWindowsAgree) {
    const sm2::PointTable& table = sm2::tableOfGenerator();
    const sm9::Word256& n = sm2::GroupOrder::kModulus.value;
    const sm2::Point generator = table.multiply({1, 0, 0, 0});
    EXPECT_TRUE(generator.toAffine().isOnCurve());
    EXPECT_TRUE(sm9::multiply(n, generator).isInfinity());
    EXPECT_TRUE(table.multiply(n).isInfinity());
    sm2::Point sum = generator;
    for (std::uint64_t k = 1; k < 40; ++k, sum = sum + generator) {
        std::uint64_t borrow = 0;
        const sm2::AffinePoint expected = sum.toAffine();
        for (const sm2::Point& point : {table.multiply({k, 0, 0, 0}), sm9::multiply({k, 0, 0, 0}, generator),
                                        -table.multiply(sm9::subtract(n, {k, 0, 0, 0}, borrow))}) {
            EXPECT_TRUE(point.toAffine().x == expected.x && point.toAffine().y == expected.y) << k;
        }
    }
    EXPECT_TRUE((sum + -sum).isInfinity());
    EXPECT_TRUE((sum + -sum.toAffine()).isInfinity());
    EXPECT_TRUE((sm2::Point::infinity() + sum.toAffine()).toAffine().x == sum.toAffine().x);
}

TEST(KeyCache, KeepsWhatWasAskedForLast) {
    quil::KeyCache<int> cache(2);
    int made = 0;
    const auto get = [&](const char* name) {
        return cache.get(name, [&] { return std::make_shared<int>(++made); });
    };
    const std::shared_ptr<const int> first = get("a");
    get("b");
    EXPECT_EQ(first, get("a"));
    get("c");  // b goes
    EXPECT_EQ(first, get("a"));
    EXPECT_EQ(3, made);
    get("b");
    EXPECT_EQ(4, made);
    EXPECT_EQ(nullptr, cache.get("d", [] { return std::shared_ptr<int>(); }));
    EXPECT_EQ(first, get("a")) << "what can't be made pushes nothing out";
}
