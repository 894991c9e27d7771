// SM9: library contexts, system parameters and the public key objects of identities.
#include <filesystem>
#include <fstream>
#include <string>

#include "quilcrypto/KeyCache.h"
#include "quilcrypto/Objects.h"
#include "quilcrypto/ParameterText.h"
#include "quilcrypto/QuilCryptoLib.h"

using namespace vloxlib;
using namespace vloxlib::quil;

namespace {

constexpr unsigned int kMostIdentity = 8191;     // the standard counts an identity's bits in 16 bits
constexpr std::size_t kMostParameters = 65536;   // of a file; the parameters proper are 70 bytes
constexpr unsigned int kSm9Family = 0x22000000;  // what names QCL_SM9_ENCRYPTION in an attribute value

class Sm9PublicKey : public PublicKey {
public:
    explicit Sm9PublicKey(std::shared_ptr<const sm9::EncryptionKey> key) : m_key(std::move(key)) {}
    std::size_t capacityFor(std::size_t plainLength) const override {
        return sm9::EncryptionKey::cipherSize(plainLength);
    }
    std::optional<sm9::Bytes> encrypt(sm9::ByteView plain) const override { return m_key->encrypt(plain); }

private:
    const std::shared_ptr<const sm9::EncryptionKey> m_key;
};

// Shared by the process: a second client of a server, or a new bridge to it, finds the tables made.
std::shared_ptr<const sm9::EncryptionKey> keyOf(const sm9::SystemParameters& parameters,
                                                sm9::ByteView identity) {
    static auto& cache = *new KeyCache<sm9::EncryptionKey>(kKeptKeys);  // threads may outlive static objects
    const sm9::Bytes point = parameters.toPoint();
    std::string name(point.begin(), point.end());  // always as long
    name.append(identity.begin(), identity.end());
    return cache.get(name, [&] { return std::make_shared<const sm9::EncryptionKey>(parameters, identity); });
}

// The file's content, at most one byte more than parameters may have; nothing when it can't be read.
std::optional<std::string> contentOf(const char* path) {
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    std::string content(kMostParameters + 1, '\0');
    file.read(&content[0], static_cast<std::streamsize>(content.size()));
    if (file.bad() || file.gcount() == 0) {
        return std::nullopt;
    }
    content.resize(static_cast<std::size_t>(file.gcount()));
    return content;
}

int giveParameters(void** handle, const std::optional<sm9::SystemParameters>& parameters) {
    if (!parameters) {
        return QCL_ERROR_PARAMETERS;
    }
    *handle = handleOf(std::make_unique<IbcParameters>(*parameters));
    return QCL_SUCCESS;
}

}  // namespace

int QCLCreateLibCtx(void** context) {
    if (context == nullptr) {
        return QCL_ERROR_NULL;
    }
    *context = nullptr;
    return guarded([&]() -> int {
        *context = handleOf(std::make_unique<LibraryContext>());
        return QCL_SUCCESS;
    });
}

void QCLDestroyLibCtx(void* context) { destroy<LibraryContext>(context); }

int QCLSetLibCtxAttribute(void* context, int attribute, void* parameters, unsigned int reserved) {
    if (context == nullptr || parameters == nullptr) {
        return QCL_ERROR_NULL;
    }
    auto* library = objectOf<LibraryContext>(context);
    const auto* bound = objectOf<IbcParameters>(parameters);
    if (library == nullptr || bound == nullptr) {
        return QCL_ERROR_HANDLE;
    }
    if (attribute != QCL_ATTRIBUTE_PARAMETERS) {
        return QCL_ERROR_ATTRIBUTE;
    }
    if (reserved != 0) {
        return QCL_ERROR_RESERVED;
    }
    library->parameters = bound->values;
    return QCL_SUCCESS;
}

int QCLCreateIBCParamObjectFromFile(void** parameters, const char* path) {
    if (parameters == nullptr) {
        return QCL_ERROR_NULL;
    }
    *parameters = nullptr;
    if (path == nullptr) {
        return QCL_ERROR_NULL;
    }
    return guarded([&]() -> int {
        const std::optional<std::string> content = contentOf(path);
        if (!content) {
            return QCL_ERROR_FILE;
        }
        if (content->size() > kMostParameters) {
            return QCL_ERROR_LENGTH;
        }
        return giveParameters(parameters, parametersFromContent(*content));
    });
}

int QCLCreateIBCParamObjectFromMem(void** parameters, const unsigned char* bytes, unsigned int length) {
    if (parameters == nullptr) {
        return QCL_ERROR_NULL;
    }
    *parameters = nullptr;
    if (bytes == nullptr) {
        return QCL_ERROR_NULL;
    }
    if (length == 0) {
        return QCL_ERROR_LENGTH;
    }
    return guarded([&] {
        return giveParameters(parameters, sm9::SystemParameters::fromDer({bytes, length}));
    });
}

void QCLDestroyIBCParamObject(void* parameters) { destroy<IbcParameters>(parameters); }

int QCLGetIBCParamAttribute(void* parameters, int attribute, unsigned int* value, void* reserved) {
    if (parameters == nullptr || value == nullptr) {
        return QCL_ERROR_NULL;
    }
    if (objectOf<IbcParameters>(parameters) == nullptr) {
        return QCL_ERROR_HANDLE;
    }
    if (attribute != QCL_ATTRIBUTE_ALGORITHM) {
        return QCL_ERROR_ATTRIBUTE;
    }
    if (reserved != nullptr) {
        return QCL_ERROR_RESERVED;
    }
    *value = kSm9Family;
    return QCL_SUCCESS;
}

int QCLCreateIBCPubKeyObjectEx(void** key, int algorithm, void* parameters, const unsigned char* identity,
                               unsigned int identityLength, unsigned int reserved0, unsigned int reserved1,
                               void* reservedNull, unsigned int reservedLength) {
    if (key == nullptr) {
        return QCL_ERROR_NULL;
    }
    *key = nullptr;
    if (parameters == nullptr || identity == nullptr) {
        return QCL_ERROR_NULL;
    }
    const auto* domain = objectOf<IbcParameters>(parameters);
    if (domain == nullptr) {
        return QCL_ERROR_HANDLE;
    }
    if (algorithm != QCL_SM9_ENCRYPTION && algorithm != QCL_SM9_ENCRYPTION_2) {
        return QCL_ERROR_ALGORITHM;
    }
    if (identityLength == 0 || identityLength > kMostIdentity) {
        return QCL_ERROR_LENGTH;
    }
    if (reserved0 != 0 || reserved1 != 1 || reservedNull != nullptr || reservedLength != 0) {
        return QCL_ERROR_RESERVED;
    }
    return guarded([&]() -> int {
        *key = handleOf(std::make_unique<Sm9PublicKey>(keyOf(*domain->values, {identity, identityLength})));
        return QCL_SUCCESS;
    });
}
