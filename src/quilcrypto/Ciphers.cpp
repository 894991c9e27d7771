// Symmetric ciphers and random bytes, over OpenSSL.
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstring>
#include <limits>
#include <memory>

#include "quilcrypto/ErrorMark.h"
#include "quilcrypto/QuilCryptoLib.h"

namespace {

constexpr unsigned int kBlock = 16;
constexpr unsigned int kMostInput = std::numeric_limits<int>::max() - kBlock;

struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

// A cipher object is fetched once per process: for short texts the fetch costs more than the cipher. It is
// never freed, because other threads may still encrypt while the process ends.
const EVP_CIPHER* cipherOf(unsigned int algorithm) {
    static const EVP_CIPHER* const aesCbc = EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr);
    static const EVP_CIPHER* const aesBlock = EVP_CIPHER_fetch(nullptr, "AES-128-ECB", nullptr);
    static const EVP_CIPHER* const sm4Cbc = EVP_CIPHER_fetch(nullptr, "SM4-CBC", nullptr);
    switch (algorithm) {
        case QCL_AES128_CBC:
            return aesCbc;
        case QCL_AES128_BLOCK:
            return aesBlock;
        case QCL_SM4_CBC:
            return sm4Cbc;
        default:
            return nullptr;
    }
}

// What one call works on; the names are those of QCLCryptEncrypt.
struct Job {
    unsigned int algorithm;
    const unsigned char* key;
    unsigned int keyLength;
    const unsigned char* iv;
    unsigned int ivLength;
    unsigned char* output;
    unsigned int* outputLength;
    const unsigned char* input;
    unsigned int inputLength;
    unsigned int reserved;
};

int check(const Job& job) {
    if (job.algorithm != QCL_AES128_CBC && job.algorithm != QCL_AES128_BLOCK &&
        job.algorithm != QCL_SM4_CBC) {
        return QCL_ERROR_ALGORITHM;
    }
    if (job.key == nullptr || job.iv == nullptr || job.output == nullptr || job.outputLength == nullptr ||
        (job.input == nullptr && job.inputLength > 0)) {
        return QCL_ERROR_NULL;
    }
    const bool oneBlock = job.algorithm == QCL_AES128_BLOCK;
    if (job.keyLength != kBlock || job.ivLength != kBlock || job.inputLength > kMostInput ||
        (oneBlock && job.inputLength != kBlock)) {
        return QCL_ERROR_LENGTH;
    }
    return job.reserved == 0 ? QCL_SUCCESS : QCL_ERROR_RESERVED;
}

int lackOfCapacity(const Job& job, unsigned int needed) {
    *job.outputLength = needed;
    return QCL_ERROR_CAPACITY;
}

// A context of the job's cipher and key. Freeing it cleanses the key schedule.
Context start(const Job& job, bool encrypt) {
    Context context(EVP_CIPHER_CTX_new());
    const EVP_CIPHER* cipher = cipherOf(job.algorithm);
    const unsigned char* iv = job.algorithm == QCL_AES128_BLOCK ? nullptr : job.iv;
    if (!context || cipher == nullptr ||
        EVP_CipherInit_ex2(context.get(), cipher, job.key, iv, encrypt ? 1 : 0, nullptr) != 1) {
        return nullptr;
    }
    if (job.algorithm == QCL_AES128_BLOCK) {
        EVP_CIPHER_CTX_set_padding(context.get(), 0);
    }
    return context;
}

int encrypt(const Job& job) {
    const bool oneBlock = job.algorithm == QCL_AES128_BLOCK;
    const unsigned int needed = oneBlock ? kBlock : (job.inputLength / kBlock + 1) * kBlock;
    if (*job.outputLength < needed) {
        return lackOfCapacity(job, needed);
    }
    const vloxlib::quil::ErrorMark mark;
    const Context context = start(job, true);
    int body = 0;
    int end = 0;
    if (!context ||
        EVP_EncryptUpdate(context.get(), job.output, &body, job.input, static_cast<int>(job.inputLength)) !=
            1 ||
        EVP_EncryptFinal_ex(context.get(), job.output + body, &end) != 1) {
        return QCL_ERROR_INTERNAL;
    }
    *job.outputLength = static_cast<unsigned int>(body + end);
    return QCL_SUCCESS;
}

// The last bytes come aside, because only the pad tells whether they fit the capacity.
int decrypt(const Job& job) {
    if (job.inputLength == 0 || job.inputLength % kBlock != 0) {
        return QCL_ERROR_DATA;
    }
    const unsigned int capacity = *job.outputLength;
    const bool oneBlock = job.algorithm == QCL_AES128_BLOCK;
    if (capacity < (oneBlock ? kBlock : job.inputLength - kBlock)) {
        return lackOfCapacity(job, job.inputLength);
    }
    const vloxlib::quil::ErrorMark mark;
    const Context context = start(job, false);
    int body = 0;
    int end = 0;
    unsigned char tail[kBlock];
    if (!context || EVP_DecryptUpdate(context.get(), job.output, &body, job.input,
                                      static_cast<int>(job.inputLength)) != 1) {
        return QCL_ERROR_INTERNAL;
    }
    int result = QCL_SUCCESS;
    if (EVP_DecryptFinal_ex(context.get(), tail, &end) != 1) {
        result = QCL_ERROR_DATA;
    } else if (capacity < static_cast<unsigned int>(body + end)) {
        result = lackOfCapacity(job, job.inputLength);
    }
    if (result == QCL_SUCCESS) {
        std::memcpy(job.output + body, tail, static_cast<std::size_t>(end));
        *job.outputLength = static_cast<unsigned int>(body + end);
    } else {
        OPENSSL_cleanse(job.output, static_cast<std::size_t>(body));
    }
    OPENSSL_cleanse(tail, sizeof(tail));
    return result;
}

}  // namespace

int QCL_random(unsigned char* buffer, unsigned int length) {
    if (buffer == nullptr) {
        return QCL_ERROR_NULL;
    }
    if (length > kMostInput) {
        return QCL_ERROR_LENGTH;
    }
    return RAND_priv_bytes(buffer, static_cast<int>(length)) == 1 ? QCL_SUCCESS : QCL_ERROR_INTERNAL;
}

int QCLCryptEncrypt(unsigned int algorithm, const unsigned char* key, unsigned int keyLength,
                    const unsigned char* iv, unsigned int ivLength, unsigned char* output,
                    unsigned int* outputLength, const unsigned char* input, unsigned int inputLength,
                    unsigned int reserved) {
    const Job job{algorithm, key,          keyLength, iv,          ivLength,
                  output,    outputLength, input,     inputLength, reserved};
    const int checked = check(job);
    return checked == QCL_SUCCESS ? encrypt(job) : checked;
}

int QCLCryptDecrypt(unsigned int algorithm, const unsigned char* key, unsigned int keyLength,
                    const unsigned char* iv, unsigned int ivLength, unsigned char* output,
                    unsigned int* outputLength, const unsigned char* input, unsigned int inputLength,
                    unsigned int reserved) {
    const Job job{algorithm, key,          keyLength, iv,          ivLength,
                  output,    outputLength, input,     inputLength, reserved};
    const int checked = check(job);
    return checked == QCL_SUCCESS ? decrypt(job) : checked;
}
