#include "vloxlib/encrypt/AesBlockCipher.h"

#include <openssl/evp.h>

#include <new>

#include "vloxlib/encrypt/QclContent.h"

namespace vloxlib {

namespace {

constexpr int kBadKeySize = -32;
constexpr std::size_t kMostAtOnce = 1u << 30;  // the library beneath counts in int

const EVP_CIPHER* cipherOf(int bits) {
    switch (bits) {
        case 128:
            return EVP_aes_128_ecb();
        case 192:
            return EVP_aes_192_ecb();
        case 256:
            return EVP_aes_256_ecb();
        default:
            return nullptr;
    }
}

}  // namespace

void AesBlockCipher::ContextDeleter::operator()(EVP_CIPHER_CTX* context) const {
    EVP_CIPHER_CTX_free(context);  // cleanses the key schedule
}

AesBlockCipher::AesBlockCipher() : m_context(EVP_CIPHER_CTX_new()) {
    if (!m_context) {
        throw std::bad_alloc();
    }
}

AesBlockCipher::~AesBlockCipher() = default;

int AesBlockCipher::setEncryptKey(const unsigned char* key, int bits) { return setKey(key, bits, true); }

int AesBlockCipher::setDecryptKey(const unsigned char* key, int bits) { return setKey(key, bits, false); }

int AesBlockCipher::setKey(const unsigned char* key, int bits, bool encrypt) {
    const EVP_CIPHER* cipher = cipherOf(bits);
    m_ready = cipher != nullptr && qclcontent::isKey(key, static_cast<std::size_t>(bits / 8)) &&
              EVP_CipherInit_ex2(m_context.get(), cipher, key, nullptr, encrypt ? 1 : 0, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_padding(m_context.get(), 0) == 1;
    return m_ready ? 0 : kBadKeySize;
}

bool AesBlockCipher::transform(unsigned char* blocks, std::size_t length) {
    while (m_ready && length > 0) {
        const std::size_t part = length < kMostAtOnce ? length : kMostAtOnce;
        int written = 0;
        m_ready = EVP_CipherUpdate(m_context.get(), blocks, &written, blocks, static_cast<int>(part)) == 1;
        blocks += part;
        length -= part;
    }
    return m_ready;
}

}  // namespace vloxlib
