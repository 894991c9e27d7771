#include "quilcrypto/Sm2.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/param_build.h>

#include "quilcrypto/ErrorMark.h"
#include "quilcrypto/Sm2Der.h"

namespace vloxlib::sm2 {

using quil::ErrorMark;

namespace {

constexpr std::size_t kCoordinate = 32;
constexpr std::size_t kPoint = 1 + 2 * kCoordinate;
constexpr char kGroup[] = "SM2";

struct Deleter {
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(BIGNUM* number) const { BN_clear_free(number); }
    void operator()(EC_GROUP* group) const { EC_GROUP_free(group); }
    void operator()(EC_POINT* point) const { EC_POINT_free(point); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
};
template <typename T>
using Owned = std::unique_ptr<T, Deleter>;

Owned<EVP_PKEY_CTX> contextOf(EVP_PKEY* key) {
    return Owned<EVP_PKEY_CTX>(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
}

KeyHandle keyFrom(int selection, OSSL_PARAM* parameters) {
    const Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_name(nullptr, kGroup, nullptr));
    EVP_PKEY* key = nullptr;
    if (!context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, selection, parameters) != 1) {
        return nullptr;
    }
    return KeyHandle(key);
}

// The public point of a private scalar, 04 || x || y; empty when the scalar is no private key.
Bytes pointOf(const BIGNUM* scalar) {
    const Owned<EC_GROUP> group(EC_GROUP_new_by_curve_name(NID_sm2));
    const Owned<BIGNUM> limit(group ? BN_dup(EC_GROUP_get0_order(group.get())) : nullptr);
    const Owned<EC_POINT> point(group ? EC_POINT_new(group.get()) : nullptr);
    Bytes bytes(kPoint);
    if (!limit || !point || BN_sub_word(limit.get(), 1) != 1 || BN_is_zero(scalar) ||
        BN_cmp(scalar, limit.get()) >= 0 ||
        EC_POINT_mul(group.get(), point.get(), scalar, nullptr, nullptr, nullptr) != 1 ||
        EC_POINT_point2oct(group.get(), point.get(), POINT_CONVERSION_UNCOMPRESSED, bytes.data(),
                           bytes.size(), nullptr) != bytes.size()) {
        return Bytes();
    }
    return bytes;
}

// p, big-endian. OpenSSL takes any number that stands for a coordinate modulo p, and other forms of the DER
// beside the right one; one cipher text is to have one form only.
constexpr sm9::der::Number kPrime = {0xff, 0xff, 0xff, 0xfe, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                                     0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x00,
                                     0x00, 0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};

bool isInItsOneForm(ByteView der) {
    const std::optional<CipherFields> fields = readCipher(der);
    return fields && fields->x < kPrime && fields->y < kPrime;
}

}  // namespace

void KeyDeleter::operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }

std::optional<EncryptionKey> EncryptionKey::fromPoint(ByteView point) {
    const ErrorMark mark;
    Bytes octets;
    if (point.size == kPoint - 1) {
        octets.push_back(POINT_CONVERSION_UNCOMPRESSED);
    }
    octets.insert(octets.end(), point.begin(), point.end());
    if (octets.size() != kPoint || octets[0] != POINT_CONVERSION_UNCOMPRESSED) {
        return std::nullopt;
    }
    OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, const_cast<char*>(kGroup), 0),
        OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, octets.data(), octets.size()),
        OSSL_PARAM_construct_end()};
    KeyHandle key = keyFrom(EVP_PKEY_PUBLIC_KEY, parameters);  // fails for a point off the curve
    return key ? std::optional<EncryptionKey>(EncryptionKey(std::move(key))) : std::nullopt;
}

std::size_t EncryptionKey::capacityFor(std::size_t plainLength) {
    constexpr std::size_t kHeader = 6;  // tag, and a length of up to five bytes
    return kHeader + 2 * (2 + 1 + kCoordinate) + 2 + kCoordinate + kHeader + plainLength;
}

std::optional<Bytes> EncryptionKey::encrypt(ByteView plain) const {
    const ErrorMark mark;
    const Owned<EVP_PKEY_CTX> context = contextOf(m_key.get());
    Bytes cipher(capacityFor(plain.size));
    std::size_t length = cipher.size();
    if (!context || EVP_PKEY_encrypt_init(context.get()) != 1 ||
        EVP_PKEY_encrypt(context.get(), cipher.data(), &length, plain.data, plain.size) != 1) {
        return std::nullopt;
    }
    cipher.resize(length);
    return cipher;
}

std::optional<PrivateKey> PrivateKey::generate() {
    const ErrorMark mark;
    KeyHandle key(EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2"));
    return key ? std::optional<PrivateKey>(PrivateKey(std::move(key))) : std::nullopt;
}

std::optional<PrivateKey> PrivateKey::fromScalar(ByteView scalar) {
    const ErrorMark mark;
    if (scalar.size != kCoordinate) {
        return std::nullopt;
    }
    const Owned<BIGNUM> number(BN_secure_new());
    const Owned<OSSL_PARAM_BLD> builder(OSSL_PARAM_BLD_new());
    if (!number || !builder || BN_bin2bn(scalar.data, kCoordinate, number.get()) == nullptr) {
        return std::nullopt;
    }
    const Bytes point = pointOf(number.get());
    if (point.empty() ||
        OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, kGroup, 0) != 1 ||
        OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(),
                                         point.size()) != 1 ||
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_PRIV_KEY, number.get()) != 1) {
        return std::nullopt;
    }
    const Owned<OSSL_PARAM> parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    KeyHandle key = parameters ? keyFrom(EVP_PKEY_KEYPAIR, parameters.get()) : nullptr;
    return key ? std::optional<PrivateKey>(PrivateKey(std::move(key))) : std::nullopt;
}

SecretBytes PrivateKey::toScalar() const {
    SecretBytes bytes(kCoordinate);
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(m_key.get(), OSSL_PKEY_PARAM_PRIV_KEY, &number);
    const Owned<BIGNUM> guard(number);
    BN_bn2binpad(number, bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

Bytes PrivateKey::toPoint() const {
    BIGNUM* x = nullptr;
    BIGNUM* y = nullptr;
    EVP_PKEY_get_bn_param(m_key.get(), OSSL_PKEY_PARAM_EC_PUB_X, &x);
    EVP_PKEY_get_bn_param(m_key.get(), OSSL_PKEY_PARAM_EC_PUB_Y, &y);
    const Owned<BIGNUM> guardX(x);
    const Owned<BIGNUM> guardY(y);
    Bytes bytes(kPoint, POINT_CONVERSION_UNCOMPRESSED);
    BN_bn2binpad(x, &bytes[1], kCoordinate);
    BN_bn2binpad(y, &bytes[1 + kCoordinate], kCoordinate);
    return bytes;
}

std::optional<SecretBytes> PrivateKey::decrypt(ByteView der) const {
    const ErrorMark mark;
    const Owned<EVP_PKEY_CTX> context = contextOf(m_key.get());
    SecretBytes plain(der.size);  // never longer than its cipher text
    std::size_t length = plain.size();
    if (!context || !isInItsOneForm(der) || EVP_PKEY_decrypt_init(context.get()) != 1 ||
        EVP_PKEY_decrypt(context.get(), plain.data(), &length, der.data, der.size) != 1) {
        return std::nullopt;
    }
    plain.resize(length);
    return plain;
}

}  // namespace vloxlib::sm2
