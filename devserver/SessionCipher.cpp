#include "SessionCipher.h"

#include <openssl/evp.h>
#include <vloxlib/encrypt/DeploymentSecrets.h>

#include "WireError.h"

namespace devserver {
namespace {

constexpr std::size_t kBlock = 16;

class PlainCipher : public SessionCipher {
public:
    bool encrypted() const override { return false; }
    std::string encrypt(const std::string& plain) const override { return plain; }
    std::string decrypt(const std::string& cipher) const override { return cipher; }
    std::string decryptHeader(const std::string& cipher) const override { return cipher; }
};

struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

const unsigned char* bytesOf(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

class ContentCipher : public SessionCipher {
public:
    ContentCipher(const EVP_CIPHER* algorithm, std::string key)
        : m_algorithm(algorithm), m_key(std::move(key)) {}

    bool encrypted() const override { return true; }
    std::string encrypt(const std::string& plain) const override { return run(1, m_key.data(), plain); }
    std::string decrypt(const std::string& cipher) const override { return run(0, m_key.data(), cipher); }
    std::string decryptHeader(const std::string& cipher) const override {
        return run(0, vloxlib::kSpecialKey, cipher);
    }

private:
    std::string run(int encrypt, const char* key, const std::string& input) const {
        const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context(EVP_CIPHER_CTX_new());
        std::string output(input.size() + kBlock, '\0');
        auto* const out = reinterpret_cast<unsigned char*>(output.data());
        int length = 0;
        int rest = 0;
        if (context == nullptr ||
            EVP_CipherInit_ex(context.get(), m_algorithm, nullptr, bytesOf(key), bytesOf(vloxlib::kSymIv),
                              encrypt) != 1 ||
            EVP_CipherUpdate(context.get(), out, &length, bytesOf(input.data()),
                             static_cast<int>(input.size())) != 1 ||
            EVP_CipherFinal_ex(context.get(), out + length, &rest) != 1) {
            throw WireError(kWireBadSession, "the content doesn't fit its key");
        }
        output.resize(static_cast<std::size_t>(length) + static_cast<std::size_t>(rest));
        return output;
    }

    const EVP_CIPHER* const m_algorithm;
    const std::string m_key;
};

}  // namespace

std::shared_ptr<const SessionCipher> plainCipher() {
    static const auto cipher = std::make_shared<const PlainCipher>();
    return cipher;
}

std::shared_ptr<const SessionCipher> contentCipher(int algorithm, const std::string& key) {
    if (key.size() != kBlock) {
        throw WireError(kWireBadSession, "the session key has " + std::to_string(key.size()) + " bytes");
    }
    switch (algorithm) {
        case 0:
        case 1:
            return std::make_shared<const ContentCipher>(EVP_aes_128_cbc(), key);
        case 2:
            return std::make_shared<const ContentCipher>(EVP_sm4_cbc(), key);
        default:
            throw WireError(kWireBadAlgorithm, "symAlg " + std::to_string(algorithm) + " is not known");
    }
}

}  // namespace devserver
