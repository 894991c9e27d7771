// Public key objects: making one of an SM2 key, and encrypting under any of them.
#include <cstring>
#include <string>

#include "quilcrypto/KeyCache.h"
#include "quilcrypto/Objects.h"
#include "quilcrypto/QuilCryptoLib.h"
#include "quilcrypto/Sm2.h"
#include "quilcrypto/Sm2Openssl.h"

using namespace vloxlib;
using namespace vloxlib::quil;

namespace {

constexpr unsigned int kMostPlain = 255;  // it is keys that are wrapped

#ifdef VLOX_SM2_OPENSSL
using Sm2EncryptionKey = sm2::openssl::EncryptionKey;
#else
using Sm2EncryptionKey = sm2::EncryptionKey;
#endif

class Sm2PublicKey : public PublicKey {
public:
    explicit Sm2PublicKey(std::shared_ptr<const Sm2EncryptionKey> key) : m_key(std::move(key)) {}
    std::size_t capacityFor(std::size_t plainLength) const override {
        return sm2::EncryptionKey::capacityFor(plainLength);
    }
    std::optional<sm9::Bytes> encrypt(sm9::ByteView plain) const override { return m_key->encrypt(plain); }

private:
    const std::shared_ptr<const Sm2EncryptionKey> m_key;
};

// Shared by the process: who comes second to a key profits from the table that the first has made.
std::shared_ptr<const Sm2EncryptionKey> keyOf(sm9::ByteView point) {
    static auto& cache = *new KeyCache<Sm2EncryptionKey>(kKeptKeys);  // threads may outlive static objects
    return cache.get(std::string(point.begin(), point.end()), [&] {
        std::optional<Sm2EncryptionKey> key = Sm2EncryptionKey::fromPoint(point);
        return key ? std::make_shared<const Sm2EncryptionKey>(std::move(*key)) : nullptr;
    });
}

}  // namespace

int QCLCreateSM2PubKeyObjectFromMem(void** key, const unsigned char* bytes, unsigned int length,
                                    unsigned int reserved) {
    if (key == nullptr) {
        return QCL_ERROR_NULL;
    }
    *key = nullptr;
    if (bytes == nullptr) {
        return QCL_ERROR_NULL;
    }
    if (length != 64 && length != 65) {
        return QCL_ERROR_LENGTH;
    }
    if (reserved != 0) {
        return QCL_ERROR_RESERVED;
    }
    return guarded([&]() -> int {
        std::shared_ptr<const Sm2EncryptionKey> made = keyOf({bytes, length});
        if (!made) {
            return QCL_ERROR_KEY;
        }
        *key = handleOf(std::make_unique<Sm2PublicKey>(std::move(made)));
        return QCL_SUCCESS;
    });
}

void QCLDestroyPubKeyObject(void* key) { destroy<PublicKey>(key); }

int QCLCryptExportData(void* key, const unsigned char* data, unsigned int length, unsigned char* output,
                       unsigned int* outputLength, void* reserved1, void* reserved2) {
    if (key == nullptr || data == nullptr || outputLength == nullptr) {
        return QCL_ERROR_NULL;
    }
    const auto* publicKey = objectOf<PublicKey>(key);
    if (publicKey == nullptr) {
        return QCL_ERROR_HANDLE;
    }
    if (length == 0 || length > kMostPlain) {
        return QCL_ERROR_LENGTH;
    }
    if (reserved1 != nullptr || reserved2 != nullptr) {
        return QCL_ERROR_RESERVED;
    }
    const auto needed = static_cast<unsigned int>(publicKey->capacityFor(length));
    const unsigned int capacity = *outputLength;
    *outputLength = needed;
    if (output == nullptr) {
        return QCL_SUCCESS;
    }
    if (capacity < needed) {
        return QCL_ERROR_CAPACITY;
    }
    return guarded([&]() -> int {
        const std::optional<sm9::Bytes> cipher = publicKey->encrypt({data, length});
        if (!cipher) {
            return QCL_ERROR_INTERNAL;
        }
        std::memcpy(output, cipher->data(), cipher->size());
        *outputLength = static_cast<unsigned int>(cipher->size());
        return QCL_SUCCESS;
    });
}
