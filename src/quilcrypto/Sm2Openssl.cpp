#include "quilcrypto/Sm2Openssl.h"

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>

#include "quilcrypto/ErrorMark.h"
#include "quilcrypto/Sm2.h"

namespace vloxlib::sm2::openssl {

using quil::ErrorMark;

namespace {

constexpr std::size_t kPoint = 65;
constexpr char kGroup[] = "SM2";

struct Deleter {
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_PKEY_CTX, Deleter>;

}  // namespace

void EncryptionKey::KeyDeleter::operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }

std::optional<EncryptionKey> EncryptionKey::fromPoint(ByteView point) {
    const ErrorMark mark;
    Bytes octets;
    if (point.size == kPoint - 1) octets.push_back(POINT_CONVERSION_UNCOMPRESSED);
    octets.insert(octets.end(), point.begin(), point.end());
    if (octets.size() != kPoint || octets[0] != POINT_CONVERSION_UNCOMPRESSED) return std::nullopt;
    OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, const_cast<char*>(kGroup), 0),
        OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, octets.data(), octets.size()),
        OSSL_PARAM_construct_end()};
    const Context context(EVP_PKEY_CTX_new_from_name(nullptr, kGroup, nullptr));
    EVP_PKEY* key = nullptr;
    if (!context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters) != 1) {
        return std::nullopt;  // also for a point off the curve
    }
    return EncryptionKey(KeyHandle(key));
}

std::optional<Bytes> EncryptionKey::encrypt(ByteView plain) const {
    const ErrorMark mark;
    const Context context(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    Bytes cipher(sm2::EncryptionKey::capacityFor(plain.size));
    std::size_t length = cipher.size();
    if (!context || EVP_PKEY_encrypt_init(context.get()) != 1 ||
        EVP_PKEY_encrypt(context.get(), cipher.data(), &length, plain.data, plain.size) != 1) {
        return std::nullopt;
    }
    cipher.resize(length);
    return cipher;
}

}  // namespace vloxlib::sm2::openssl
