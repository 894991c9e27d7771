// AES (FIPS 197) on whole blocks, each alone under the key. Not thread safe; the key is cleansed at the end.
#ifndef VLOXLIB_ENCRYPT_AESBLOCKCIPHER_H
#define VLOXLIB_ENCRYPT_AESBLOCKCIPHER_H

#include <cstddef>
#include <memory>

typedef struct evp_cipher_ctx_st EVP_CIPHER_CTX;

namespace vloxlib {

class AesBlockCipher {
public:
    AesBlockCipher();
    ~AesBlockCipher();
    AesBlockCipher(const AesBlockCipher&) = delete;
    AesBlockCipher& operator=(const AesBlockCipher&) = delete;

    // 0, or -32 when there is no key (null, or all zeros) or its size is not 128, 192 or 256 bits.
    int setEncryptKey(const unsigned char* key, int bits);
    int setDecryptKey(const unsigned char* key, int bits);

    // In place; the length in bytes is a multiple of 16. False when no key has been set.
    bool transform(unsigned char* blocks, std::size_t length);

private:
    int setKey(const unsigned char* key, int bits, bool encrypt);

    struct ContextDeleter {
        void operator()(EVP_CIPHER_CTX* context) const;
    };
    std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> m_context;
    bool m_ready = false;
};

}  // namespace vloxlib

#endif
