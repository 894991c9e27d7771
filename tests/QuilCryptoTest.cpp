#include "quilcrypto/QuilCryptoLib.h"

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "quilcrypto/Sm2.h"
#include "quilcrypto/sm9/Sm9.h"
#include "support/TempDir.h"
#include "support/Vectors.h"

using namespace vlox_test;
namespace sm2 = vloxlib::sm2;
namespace sm9 = vloxlib::sm9;

namespace {

const std::string kKey = "0123456789abcdef";
const std::string kIv = "qexdarmolvintusa";
constexpr char kCanary = '\x5a';

using Cipher = decltype(&QCLCryptEncrypt);

struct Outcome {
    int result;
    unsigned int length;
    std::string output;    // what was written, when the call succeeded
    bool overrun = false;  // a byte behind the capacity has changed
};

Outcome run(Cipher cipher, unsigned int algorithm, const std::string& key, const std::string& iv,
            const std::string& input, unsigned int capacity) {
    std::string buffer(capacity + 64, kCanary);
    Outcome outcome{0, capacity, "", false};
    outcome.result =
        cipher(algorithm, asBytes(key), static_cast<unsigned int>(key.size()), asBytes(iv),
               static_cast<unsigned int>(iv.size()), reinterpret_cast<unsigned char*>(&buffer[0]),
               &outcome.length, asBytes(input), static_cast<unsigned int>(input.size()), 0);
    outcome.overrun = buffer.substr(capacity) != std::string(64, kCanary);
    if (outcome.result == QCL_SUCCESS) {
        outcome.output = buffer.substr(0, outcome.length);
    }
    return outcome;
}

struct KeyDestroyer {
    void operator()(void* key) const { QCLDestroyPubKeyObject(key); }
};
using PublicKey = std::unique_ptr<void, KeyDestroyer>;

PublicKey sm2Key(const std::string& point) {
    void* key = nullptr;
    QCLCreateSM2PubKeyObjectFromMem(&key, asBytes(point), static_cast<unsigned int>(point.size()), 0);
    return PublicKey(key);
}

std::string text(const sm2::SecretBytes& bytes) { return std::string(bytes.begin(), bytes.end()); }
std::string text(const sm2::Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

struct ParametersDestroyer {
    void operator()(void* parameters) const { QCLDestroyIBCParamObject(parameters); }
};
using Parameters = std::unique_ptr<void, ParametersDestroyer>;

Parameters parametersOf(const std::string& der) {
    void* parameters = nullptr;
    QCLCreateIBCParamObjectFromMem(&parameters, asBytes(der), static_cast<unsigned int>(der.size()));
    return Parameters(parameters);
}

PublicKey identityKey(void* parameters, const std::string& identity) {
    void* key = nullptr;
    QCLCreateIBCPubKeyObjectEx(&key, QCL_SM9_ENCRYPTION, parameters, asBytes(identity),
                               static_cast<unsigned int>(identity.size()), 0, 1, nullptr, 0);
    return PublicKey(key);
}

// Wraps through the size query, as the strategies do; empty on any failure.
std::string wrap(void* key, const std::string& plain) {
    unsigned int length = 0;
    if (QCLCryptExportData(key, asBytes(plain), static_cast<unsigned int>(plain.size()), nullptr, &length,
                           nullptr, nullptr) != QCL_SUCCESS) {
        return "";
    }
    std::string output(length, '\0');
    if (QCLCryptExportData(key, asBytes(plain), static_cast<unsigned int>(plain.size()),
                           reinterpret_cast<unsigned char*>(&output[0]), &length, nullptr,
                           nullptr) != QCL_SUCCESS ||
        length > output.size()) {
        return "";
    }
    return output.substr(0, length);
}

// The DER INTEGER of a number of 32 bytes and so many times SM2's prime.
std::string derOfNumber(const std::string& number, int primes) {
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> sum(BN_bin2bn(asBytes(number), 32, nullptr), BN_free);
    BIGNUM* prime = nullptr;
    BN_hex2bn(&prime, "fffffffeffffffffffffffffffffffffffffffff00000000ffffffffffffffff");
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> owner(prime, BN_free);
    BN_mul_word(prime, static_cast<BN_ULONG>(std::abs(primes)));
    EXPECT_EQ(1, primes < 0 ? BN_sub(sum.get(), sum.get(), prime) : BN_add(sum.get(), sum.get(), prime));
    const std::unique_ptr<ASN1_INTEGER, decltype(&ASN1_INTEGER_free)> integer(
        BN_to_ASN1_INTEGER(sum.get(), nullptr), ASN1_INTEGER_free);
    unsigned char der[64];
    unsigned char* end = der;
    return std::string(reinterpret_cast<const char*>(der),
                       static_cast<std::size_t>(i2d_ASN1_INTEGER(integer.get(), &end)));
}

}  // namespace

TEST(QuilCiphers, KnownAnswers) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    struct Family {
        const char* name;
        unsigned int algorithm;
    };
    int checked = 0;
    for (const Family& family :
         {Family{"sm4_cbc_pkcs7", QCL_SM4_CBC}, Family{"aes128_cbc_pkcs7", QCL_AES128_CBC}}) {
        for (const auto& vector : all[family.name].GetArray()) {
            SCOPED_TRACE(std::string(family.name) + ", " + vector["name"].GetString());
            const std::string key = bytesOf(vector, "key");
            const std::string iv = bytesOf(vector, "iv");
            const std::string plain = bytesOf(vector, "plain");
            const std::string cipher = bytesOf(vector, "cipher");
            const auto size = static_cast<unsigned int>(cipher.size());
            EXPECT_EQ(cipher, run(QCLCryptEncrypt, family.algorithm, key, iv, plain, size).output);
            const Outcome back = run(QCLCryptDecrypt, family.algorithm, key, iv, cipher, size);
            EXPECT_EQ(QCL_SUCCESS, back.result);
            EXPECT_EQ(plain, back.output);
            ++checked;
        }
    }
    EXPECT_GT(checked, 20);
}

TEST(QuilCiphers, OneBlockIsOneBlock) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    int checked = 0;
    for (const auto& vector : all["block"].GetArray()) {
        if (vector["cipher_name"] == "AES-128") {
            const std::string key = bytesOf(vector, "key");
            const std::string plain = bytesOf(vector, "plain");
            const std::string cipher = bytesOf(vector, "cipher");
            EXPECT_EQ(cipher, run(QCLCryptEncrypt, QCL_AES128_BLOCK, key, kIv, plain, 16).output);
            EXPECT_EQ(plain, run(QCLCryptDecrypt, QCL_AES128_BLOCK, key, kIv, cipher, 16).output);
            ++checked;
        }
    }
    EXPECT_GT(checked, 0);
}

TEST(QuilCiphers, CapacityIsKeptAtEveryLength) {
    for (unsigned int algorithm : {QCL_AES128_CBC, QCL_SM4_CBC}) {
        for (unsigned int length = 0; length <= 50; ++length) {
            SCOPED_TRACE(length);
            const std::string plain(length, 'p');
            const unsigned int padded = (length / 16 + 1) * 16;
            const Outcome sealed = run(QCLCryptEncrypt, algorithm, kKey, kIv, plain, padded);
            ASSERT_EQ(QCL_SUCCESS, sealed.result);
            ASSERT_EQ(padded, sealed.length);
            ASSERT_FALSE(sealed.overrun);
            const Outcome tooSmall = run(QCLCryptEncrypt, algorithm, kKey, kIv, plain, padded - 1);
            EXPECT_EQ(QCL_ERROR_CAPACITY, tooSmall.result);
            EXPECT_EQ(padded, tooSmall.length) << "what is needed";
            EXPECT_FALSE(tooSmall.overrun);

            const Outcome opened = run(QCLCryptDecrypt, algorithm, kKey, kIv, sealed.output, length);
            EXPECT_EQ(plain, opened.output);
            EXPECT_EQ(QCL_SUCCESS, opened.result);
            EXPECT_FALSE(opened.overrun);
            if (length > 0) {
                const Outcome lacking = run(QCLCryptDecrypt, algorithm, kKey, kIv, sealed.output, length - 1);
                EXPECT_EQ(QCL_ERROR_CAPACITY, lacking.result);
                EXPECT_EQ(padded, lacking.length);
                EXPECT_FALSE(lacking.overrun);
            }
        }
    }
}

TEST(QuilCiphers, MalformedCipherTextsAreRefused) {
    const std::string sealed =
        run(QCLCryptEncrypt, QCL_SM4_CBC, kKey, kIv, "sixteen bytes...and more", 32).output;
    ASSERT_EQ(32u, sealed.size());
    struct Row {
        const char* why;
        std::string cipher;
    };
    const Row rows[] = {
        {"nothing at all", ""},
        {"less than a block", sealed.substr(0, 15)},
        {"a cut block at the end", sealed.substr(0, 31)},
        {"the block with the pad is missing", sealed.substr(0, 16)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const Outcome outcome = run(QCLCryptDecrypt, QCL_SM4_CBC, kKey, kIv, row.cipher, 64);
        EXPECT_EQ(QCL_ERROR_DATA, outcome.result);
        EXPECT_FALSE(outcome.overrun);
    }
    EXPECT_EQ(QCL_ERROR_LENGTH, run(QCLCryptDecrypt, QCL_AES128_BLOCK, kKey, kIv, sealed, 64).result);
}

TEST(QuilSm2, KnownAnswersBothWaysAndForgeriesRefused) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    for (const auto& vector : all["sm2"]["encrypt"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        const auto key = sm2::PrivateKey::fromScalar(bytesOf(vector, "d"));
        ASSERT_TRUE(key);
        EXPECT_EQ("04" + std::string(vector["public_xy"].GetString()), toHex(text(key->toPoint())));
        const auto plain = key->decrypt(bytesOf(vector, "der"));
        ASSERT_TRUE(plain);
        EXPECT_EQ(bytesOf(vector, "plain"), text(*plain));
        const auto publicKey = sm2::EncryptionKey::fromPoint(fromHex(vector["public_xy"].GetString()));
        ASSERT_TRUE(publicKey);
        for (int use = 0; use < 2 && vector.HasMember("k"); ++use) {  // without the kept table, then with it
            EXPECT_EQ(vector["der"].GetString(),
                      toHex(text(*publicKey->encryptWith(bytesOf(vector, "k"), bytesOf(vector, "plain")))));
        }
    }
    for (const auto& vector : all["sm2"]["reject"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        const auto key = sm2::PrivateKey::fromScalar(bytesOf(vector, "d"));
        ASSERT_TRUE(key);
        EXPECT_FALSE(key->decrypt(bytesOf(vector, "der")));
    }
    EXPECT_FALSE(sm2::PrivateKey::fromScalar(std::string(32, '\0')));
    EXPECT_FALSE(sm2::PrivateKey::fromScalar(std::string(32, '\xff')));
    EXPECT_FALSE(sm2::PrivateKey::fromScalar(std::string(31, '\1')));
}

// Each number may be written in many ways by adding the field's prime to it, or by other forms of its DER.
TEST(QuilSm2, OneCipherTextHasOneSpelling) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    const auto& vector = all["sm2"]["encrypt"][0];
    const auto key = sm2::PrivateKey::fromScalar(bytesOf(vector, "d"));
    const std::string c1 = bytesOf(vector, "C1");
    const std::string hashAndText = "\x04\x20" + bytesOf(vector, "C3") + "\x04\x13" + bytesOf(vector, "C2");
    for (const int primes : {0, -1, 1, 1 << 20}) {
        for (const bool ofX : {true, false}) {
            SCOPED_TRACE(primes);
            const std::string contents = derOfNumber(c1.substr(0, 32), ofX ? primes : 0) +
                                         derOfNumber(c1.substr(32), ofX ? 0 : primes) + hashAndText;
            const std::string der = "\x30" + std::string(1, static_cast<char>(contents.size())) + contents;
            EXPECT_EQ(primes == 0, key->decrypt(der).has_value()) << toHex(der);
        }
    }
}

TEST(QuilSm2, PublicKeysThatAreNoPointAreRefused) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    for (const auto& vector : all["sm2"]["public_key_reject"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        const std::string bytes = bytesOf(vector, "key");
        void* key = &key;
        const int result =
            QCLCreateSM2PubKeyObjectFromMem(&key, asBytes(bytes), static_cast<unsigned int>(bytes.size()), 0);
        EXPECT_EQ(bytes.size() == 65 ? QCL_ERROR_KEY : QCL_ERROR_LENGTH, result);
        EXPECT_EQ(nullptr, key);
    }
}

TEST(QuilSm2, WhatIsWrappedCanBeUnwrapped) {
    const auto server = sm2::PrivateKey::generate();
    ASSERT_TRUE(server);
    const auto again = sm2::PrivateKey::fromScalar(server->toScalar());
    ASSERT_TRUE(again);
    const std::string point = text(again->toPoint());
    const PublicKey keys[] = {sm2Key(point), sm2Key(point.substr(1))};
    for (unsigned int round = 0; round < 60;
         ++round) {  // enough for coordinates that begin with zeros or ones
        std::string plain(round < 40 ? 16 : 16 + 12 * (round - 40) % 240, '\0');
        ASSERT_EQ(QCL_SUCCESS, QCL_random(reinterpret_cast<unsigned char*>(&plain[0]),
                                          static_cast<unsigned int>(plain.size())));
        const std::string wrapped = wrap(keys[round % 2].get(), plain);
        ASSERT_FALSE(wrapped.empty());
        const auto unwrapped = server->decrypt(wrapped);
        ASSERT_TRUE(unwrapped) << toHex(wrapped);
        EXPECT_EQ(plain, text(*unwrapped));
    }
}

TEST(QuilSm9, WhatIsWrappedForAnIdentityOnlyItsKeyUnwraps) {
    const auto centre = sm9::MasterKey::generate();
    ASSERT_TRUE(centre);
    Parameters parameters = parametersOf(text(centre->parameters().toDer()));
    ASSERT_TRUE(parameters);
    const PublicKey key = identityKey(parameters.get(), "server");
    ASSERT_TRUE(key);
    parameters.reset();  // which the key doesn't need any more
    for (int round = 0; round < 3; ++round) {
        const std::string wrapped = wrap(key.get(), "a session's key.");
        const auto unwrapped = centre->extract(std::string("server"))->decrypt(wrapped);
        ASSERT_TRUE(unwrapped);
        EXPECT_EQ("a session's key.", text(*unwrapped));
        EXPECT_FALSE(centre->extract(std::string("another"))->decrypt(wrapped));
    }
}

TEST(QuilSm9, ParametersComeFromMemoryAndFromFilesInAnyForm) {
    const TempDir dir;
    const rapidjson::Document all = vectors("sm9-vectors.json");
    for (const auto& vector : all["master_public_key_der"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        EXPECT_TRUE(parametersOf(bytesOf(vector, "der")));
        for (const char* content : {"marked_text", "base64url", "der"}) {
            SCOPED_TRACE(content);
            dir.write("parameters",
                      std::string(content) == "der" ? bytesOf(vector, "der") : vector[content].GetString());
            void* parameters = nullptr;
            EXPECT_EQ(QCL_SUCCESS,
                      QCLCreateIBCParamObjectFromFile(&parameters, dir.path("parameters").c_str()));
            const Parameters owner(parameters);
            unsigned int family = 0;
            EXPECT_EQ(QCL_SUCCESS,
                      QCLGetIBCParamAttribute(parameters, QCL_ATTRIBUTE_ALGORITHM, &family, nullptr));
            EXPECT_EQ(0x22000000u, family & 0xFE000000u);
        }
    }
    for (const auto& vector : all["master_public_key_reject"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        const std::string der = bytesOf(vector, "der");
        EXPECT_FALSE(parametersOf(der));
        dir.write("parameters", der);
        void* parameters = &parameters;
        EXPECT_NE(QCL_SUCCESS, QCLCreateIBCParamObjectFromFile(&parameters, dir.path("parameters").c_str()));
        EXPECT_EQ(nullptr, parameters);
    }
}

// With ke = n - H1 the identity's point Q = [H1]P1 + [ke]P1 is infinity: nothing may be sent under it.
TEST(QuilSm9, AnIdentityWithoutAKeyIsRefused) {
    const auto centre = sm9::MasterKey::fromBytes(
        fromHex("198e09d775c2c1e19235391bb00bc7814811eb3870f499ee99e98d22b1e6a80f"));  // n - H1(Bob)
    ASSERT_TRUE(centre);
    const Parameters parameters = parametersOf(text(centre->parameters().toDer()));
    const PublicKey key = identityKey(parameters.get(), "Bob");
    ASSERT_TRUE(key);
    for (int use = 0; use < 2; ++use) {  // once without the kept tables, once with them
        unsigned char output[512] = {};
        unsigned int length = sizeof(output);
        EXPECT_EQ(QCL_ERROR_INTERNAL,
                  QCLCryptExportData(key.get(), asBytes(kKey), 16, output, &length, nullptr, nullptr));
        EXPECT_EQ(std::string(sizeof(output), '\0'), std::string(output, output + sizeof(output)));
    }
    EXPECT_FALSE(wrap(identityKey(parameters.get(), "Alice").get(), kKey).empty()) << "only that identity";
}

TEST(QuilObjects, ParametersAndContextMayGoInEitherOrder) {
    const std::string der = text(sm9::MasterKey::generate()->parameters().toDer());
    for (const bool parametersFirst : {true, false}) {
        void* context = nullptr;
        ASSERT_EQ(QCL_SUCCESS, QCLCreateLibCtx(&context));
        Parameters parameters = parametersOf(der);
        EXPECT_EQ(QCL_SUCCESS, QCLSetLibCtxAttribute(context, QCL_ATTRIBUTE_PARAMETERS, parameters.get(), 0));
        if (parametersFirst) {
            parameters.reset();
        }
        QCLDestroyLibCtx(context);
    }
    QCLDestroyLibCtx(nullptr);
    QCLDestroyIBCParamObject(nullptr);
    QCLDestroyPubKeyObject(nullptr);
}

// Every function refuses each wrong argument with the code that names it.
TEST(QuilObjects, EveryWrongArgumentHasItsCode) {
    const TempDir dir;
    const auto server = sm2::PrivateKey::generate();
    const std::string point = text(server->toPoint());
    const std::string der = text(sm9::MasterKey::generate()->parameters().toDer());
    const unsigned char* data = asBytes(point);
    const PublicKey keyOwner = sm2Key(point);
    const Parameters parametersOwner = parametersOf(der);
    void* const key = keyOwner.get();
    void* const parameters = parametersOwner.get();
    void* context = nullptr;
    ASSERT_EQ(QCL_SUCCESS, QCLCreateLibCtx(&context));
    dir.write("empty", "");
    dir.write("long", std::string(70000, 'A'));
    dir.write("garbage", "no parameters");

    void* made = nullptr;
    unsigned char out[512];
    unsigned int length = sizeof(out);
    unsigned int small = 16;
    unsigned int value = 0;
    void* const stray = out;
    const auto* k = asBytes(kKey);
    const auto sm2From = [&](const unsigned char* bytes, unsigned int size, unsigned int reserved) {
        return QCLCreateSM2PubKeyObjectFromMem(&made, bytes, size, reserved);
    };
    const auto identity = [&](int algorithm, void* under, unsigned int size, unsigned int r0, unsigned int r1,
                              void* rn, unsigned int rl) {
        return QCLCreateIBCPubKeyObjectEx(&made, algorithm, under, data, size, r0, r1, rn, rl);
    };
    const auto file = [&](const char* name) {
        return QCLCreateIBCParamObjectFromFile(&made, dir.path(name).c_str());
    };
    const auto seal = [&](unsigned int algorithm, const unsigned char* cipherKey, unsigned int keyLength,
                          unsigned int ivLength, unsigned int inputLength, unsigned int reserved) {
        length = sizeof(out);
        return QCLCryptEncrypt(algorithm, cipherKey, keyLength, k, ivLength, out, &length, data, inputLength,
                               reserved);
    };
    struct Row {
        const char* why;
        int result;
        int code;
    };
    const Row rows[] = {
        {"random: no buffer", QCL_random(nullptr, 1), QCL_ERROR_NULL},
        {"random: too long to be meant", QCL_random(out, 0xFFFFFFFFu), QCL_ERROR_LENGTH},
        {"cipher: unknown selector", seal(18, k, 16, 16, 16, 0), QCL_ERROR_ALGORITHM},
        {"cipher: no key", seal(17, nullptr, 16, 16, 16, 0), QCL_ERROR_NULL},
        {"cipher: a key of 15 bytes", seal(17, k, 15, 16, 16, 0), QCL_ERROR_LENGTH},
        {"cipher: a vector of 12 bytes", seal(81, k, 16, 12, 16, 0), QCL_ERROR_LENGTH},
        {"cipher: a block of 15 bytes", seal(19, k, 16, 16, 15, 0), QCL_ERROR_LENGTH},
        {"cipher: a length beyond int", seal(17, k, 16, 16, 0x80000000u, 0), QCL_ERROR_LENGTH},
        {"cipher: last argument", seal(17, k, 16, 16, 16, 1), QCL_ERROR_RESERVED},
        {"cipher: no input", QCLCryptEncrypt(17, k, 16, k, 16, out, &length, nullptr, 1, 0), QCL_ERROR_NULL},
        {"cipher: no output", QCLCryptDecrypt(17, k, 16, k, 16, nullptr, &length, data, 16, 0),
         QCL_ERROR_NULL},
        {"cipher: no output length", QCLCryptDecrypt(17, k, 16, k, 16, out, nullptr, data, 16, 0),
         QCL_ERROR_NULL},
        {"cipher: no vector", QCLCryptEncrypt(17, k, 16, nullptr, 16, out, &length, data, 16, 0),
         QCL_ERROR_NULL},
        {"cipher: no room", QCLCryptEncrypt(17, k, 16, k, 16, out, &small, data, 16, 0), QCL_ERROR_CAPACITY},
        {"cipher: no whole block", QCLCryptDecrypt(17, k, 16, k, 16, out, &length, data, 17, 0),
         QCL_ERROR_DATA},
        {"SM2: no out handle", QCLCreateSM2PubKeyObjectFromMem(nullptr, data, 65, 0), QCL_ERROR_NULL},
        {"SM2: no bytes", sm2From(nullptr, 65, 0), QCL_ERROR_NULL},
        {"SM2: 66 bytes", sm2From(data, 66, 0), QCL_ERROR_LENGTH},
        {"SM2: no point", sm2From(data, 64, 0), QCL_ERROR_KEY},
        {"SM2: last argument", sm2From(data, 65, 1), QCL_ERROR_RESERVED},
        {"context: no out handle", QCLCreateLibCtx(nullptr), QCL_ERROR_NULL},
        {"bind: no context", QCLSetLibCtxAttribute(nullptr, 5, parameters, 0), QCL_ERROR_NULL},
        {"bind: no parameters", QCLSetLibCtxAttribute(context, 5, nullptr, 0), QCL_ERROR_NULL},
        {"bind: handles exchanged", QCLSetLibCtxAttribute(parameters, 5, context, 0), QCL_ERROR_HANDLE},
        {"bind: other attribute", QCLSetLibCtxAttribute(context, 4, parameters, 0), QCL_ERROR_ATTRIBUTE},
        {"bind: last argument", QCLSetLibCtxAttribute(context, 5, parameters, 1), QCL_ERROR_RESERVED},
        {"file: no out handle", QCLCreateIBCParamObjectFromFile(nullptr, "x"), QCL_ERROR_NULL},
        {"file: no path", QCLCreateIBCParamObjectFromFile(&made, nullptr), QCL_ERROR_NULL},
        {"file: missing", file("missing"), QCL_ERROR_FILE},
        {"file: a directory", file("."), QCL_ERROR_FILE},
        {"file: empty", file("empty"), QCL_ERROR_FILE},
        {"file: too long", file("long"), QCL_ERROR_LENGTH},
        {"file: no parameters", file("garbage"), QCL_ERROR_PARAMETERS},
        {"memory: no out handle", QCLCreateIBCParamObjectFromMem(nullptr, data, 1), QCL_ERROR_NULL},
        {"memory: no bytes", QCLCreateIBCParamObjectFromMem(&made, nullptr, 1), QCL_ERROR_NULL},
        {"memory: nothing", QCLCreateIBCParamObjectFromMem(&made, data, 0), QCL_ERROR_LENGTH},
        {"memory: no parameters", QCLCreateIBCParamObjectFromMem(&made, data, 65), QCL_ERROR_PARAMETERS},
        {"attribute: no parameters", QCLGetIBCParamAttribute(nullptr, 3, &value, nullptr), QCL_ERROR_NULL},
        {"attribute: no value", QCLGetIBCParamAttribute(parameters, 3, nullptr, nullptr), QCL_ERROR_NULL},
        {"attribute: of a key", QCLGetIBCParamAttribute(key, 3, &value, nullptr), QCL_ERROR_HANDLE},
        {"attribute: other number", QCLGetIBCParamAttribute(parameters, 5, &value, nullptr),
         QCL_ERROR_ATTRIBUTE},
        {"attribute: last argument", QCLGetIBCParamAttribute(parameters, 3, &value, stray),
         QCL_ERROR_RESERVED},
        {"identity: no out handle",
         QCLCreateIBCPubKeyObjectEx(nullptr, 0x220B5880, parameters, data, 4, 0, 1, nullptr, 0),
         QCL_ERROR_NULL},
        {"identity: none",
         QCLCreateIBCPubKeyObjectEx(&made, 0x220B5880, parameters, nullptr, 4, 0, 1, nullptr, 0),
         QCL_ERROR_NULL},
        {"identity: no parameters", identity(0x220B5880, nullptr, 4, 0, 1, nullptr, 0), QCL_ERROR_NULL},
        {"identity: under a key", identity(0x220B5880, key, 4, 0, 1, nullptr, 0), QCL_ERROR_HANDLE},
        {"identity: algorithm 0", identity(0, parameters, 4, 0, 1, nullptr, 0), QCL_ERROR_ALGORITHM},
        {"identity: algorithm -1", identity(-1, parameters, 4, 0, 1, nullptr, 0), QCL_ERROR_ALGORITHM},
        {"identity: empty", identity(0x220B5880, parameters, 0, 0, 1, nullptr, 0), QCL_ERROR_LENGTH},
        {"identity: too long", identity(0x280B7080, parameters, 8192, 0, 1, nullptr, 0), QCL_ERROR_LENGTH},
        {"identity: first reserved", identity(0x280B7080, parameters, 4, 1, 1, nullptr, 0),
         QCL_ERROR_RESERVED},
        {"identity: second reserved", identity(0x280B7080, parameters, 4, 0, 0, nullptr, 0),
         QCL_ERROR_RESERVED},
        {"identity: third reserved", identity(0x280B7080, parameters, 4, 0, 1, stray, 0), QCL_ERROR_RESERVED},
        {"identity: fourth reserved", identity(0x280B7080, parameters, 4, 0, 1, nullptr, 1),
         QCL_ERROR_RESERVED},
        {"export: no key", QCLCryptExportData(nullptr, data, 16, out, &length, nullptr, nullptr),
         QCL_ERROR_NULL},
        {"export: no data", QCLCryptExportData(key, nullptr, 16, out, &length, nullptr, nullptr),
         QCL_ERROR_NULL},
        {"export: no length", QCLCryptExportData(key, data, 16, out, nullptr, nullptr, nullptr),
         QCL_ERROR_NULL},
        {"export: no key's handle", QCLCryptExportData(context, data, 16, out, &length, nullptr, nullptr),
         QCL_ERROR_HANDLE},
        {"export: nothing", QCLCryptExportData(key, data, 0, out, &length, nullptr, nullptr),
         QCL_ERROR_LENGTH},
        {"export: too much", QCLCryptExportData(key, data, 256, out, &length, nullptr, nullptr),
         QCL_ERROR_LENGTH},
        {"export: no room", QCLCryptExportData(key, data, 16, out, &small, nullptr, nullptr),
         QCL_ERROR_CAPACITY},
        {"export: last but one", QCLCryptExportData(key, data, 16, out, &length, stray, nullptr),
         QCL_ERROR_RESERVED},
        {"export: last", QCLCryptExportData(key, data, 16, out, &length, nullptr, stray), QCL_ERROR_RESERVED},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.code, row.result) << row.why;
    }
    EXPECT_EQ(nullptr, made) << "a call that fails gives no object";
    QCLDestroyPubKeyObject(context);  // of another kind: left alone
    QCLDestroyLibCtx(context);
}
