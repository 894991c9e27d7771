#include "vloxlib/encrypt/Aes128CBCStrategy.h"

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/encrypt/AesBlockCipher.h"
#include "vloxlib/encrypt/BlockFile.h"
#include "vloxlib/encrypt/QclContent.h"

namespace vloxlib {

namespace {

constexpr int kKeyBits = 128;
// Large enough that system calls cost nothing, small enough for the processor's cache.
constexpr std::size_t kFileRun = std::size_t{256} * 1024;

}  // namespace

Aes128CBCStrategy::Aes128CBCStrategy() : SymEncryptStrategy("Aes128CBCStrategy") {}

bool Aes128CBCStrategy::encryptFile(const unsigned char* key, unsigned int /*keyLength*/,
                                    const std::string& source, const std::string& destination) {
    return aesEncryptFile(key, source, destination) == 0;
}

bool Aes128CBCStrategy::decryptFile(const unsigned char* key, unsigned int /*keyLength*/,
                                    const std::string& source, const std::string& destination) {
    return aesDecryptFile(key, source, destination) == 0;
}

int Aes128CBCStrategy::aesEncryptFile(const unsigned char* key, const std::string& source,
                                      const std::string& destination) {
    AesBlockCipher cipher;
    if (const int failure = cipher.setEncryptKey(key, kKeyBits)) {
        return failure;
    }
    return blockfile::encrypt(source, destination, kFileRun, [&](unsigned char* blocks, std::size_t length) {
        return cipher.transform(blocks, length);
    });
}

int Aes128CBCStrategy::aesDecryptFile(const unsigned char* key, const std::string& source,
                                      const std::string& destination) {
    AesBlockCipher cipher;
    if (const int failure = cipher.setDecryptKey(key, kKeyBits)) {
        return failure;
    }
    return blockfile::decrypt(source, destination, kFileRun, [&](unsigned char* blocks, std::size_t length) {
        return cipher.transform(blocks, length);
    });
}

bool Aes128CBCStrategy::cipherEncrypt(const unsigned char* key, unsigned int keyLength,
                                      const unsigned char* input, unsigned int inputLength,
                                      unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_AES128_CBC, key, keyLength, m_iv}.encrypt(input, inputLength, output,
                                                                         outputLength);
}

bool Aes128CBCStrategy::cipherDecrypt(const unsigned char* key, unsigned int keyLength,
                                      const unsigned char* input, unsigned int inputLength,
                                      unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_AES128_CBC, key, keyLength, m_iv}.decrypt(input, inputLength, output,
                                                                         outputLength);
}

bool Aes128CBCStrategy::blockEncrypt(const unsigned char* key, unsigned int keyLength,
                                     const unsigned char* input, unsigned int inputLength,
                                     unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_AES128_BLOCK, key, keyLength, m_iv}.encrypt(input, inputLength, output,
                                                                           outputLength);
}

bool Aes128CBCStrategy::blockDecrypt(const unsigned char* key, unsigned int keyLength,
                                     const unsigned char* input, unsigned int inputLength,
                                     unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_AES128_BLOCK, key, keyLength, m_iv}.decrypt(input, inputLength, output,
                                                                           outputLength);
}

}  // namespace vloxlib
