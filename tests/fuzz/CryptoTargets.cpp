#include "fuzz/Targets.h"

#include <quilcrypto/ParameterText.h>
#include <quilcrypto/QuilCryptoLib.h>
#include <quilcrypto/Sm2.h>
#include <quilcrypto/sm9/Sm9.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/Hex.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/QCLSm9Strategy.h"

using namespace vloxlib;

namespace vlox_fuzz {

namespace {

const std::string kPlain = "sixteen bytes ..";

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned int lengthOf(std::size_t size) { return static_cast<unsigned int>(size); }

// An accepted public key wraps within the capacity that it asks for, and gives the handle back.
void useAndDestroy(void* key) {
    unsigned int length = 0;
    promise(QCLCryptExportData(key, bytesOf(kPlain), 16, nullptr, &length, nullptr, nullptr) == QCL_SUCCESS,
            "a key tells its capacity");
    std::vector<unsigned char> wrapped(length);
    promise(QCLCryptExportData(key, bytesOf(kPlain), 16, wrapped.data(), &length, nullptr, nullptr) ==
                    QCL_SUCCESS &&
                length <= wrapped.size(),
            "a key wraps within its capacity");
    QCLDestroyPubKeyObject(key);
}

void checkHandle(int result, const void* handle) {
    promise((result == QCL_SUCCESS) == (handle != nullptr), "a handle comes with success and only then");
}

}  // namespace

void sm2PublicKey(const std::uint8_t* data, std::size_t size) {
    void* key = nullptr;
    const int result = QCLCreateSM2PubKeyObjectFromMem(&key, data, lengthOf(size), 0);
    checkHandle(result, key);
    if (key != nullptr) {
        useAndDestroy(key);
    }
}

void sm2Cipher(const std::uint8_t* data, std::size_t size) {
    static const auto key = sm2::PrivateKey::fromScalar(
        vlox_test::fromHex("025a6bc27db746475b99a854cc302a6e968337c5a93e4f1bb52235861b4c2b4a"));
    const auto plain = key->decrypt({data, size});
    promise(!plain || plain->size() < size, "a text is shorter than its cipher text");
}

void sm9Parameters(const std::uint8_t* data, std::size_t size) {
    void* parameters = nullptr;
    const int result = QCLCreateIBCParamObjectFromMem(&parameters, data, lengthOf(size));
    checkHandle(result, parameters);
    const auto parsed = sm9::SystemParameters::fromDer({data, size});
    promise(parsed.has_value() == (parameters != nullptr), "one reader behind both doors");
    if (parsed) {
        const sm9::Bytes der = parsed->toDer();
        const sm9::Bytes input(data, data + size);
        promise(input == der || input == sm9::Bytes(der.begin() + 2, der.end()),
                "parameters have two forms only");
    }
    QCLDestroyIBCParamObject(parameters);
}

void sm9Cipher(const std::uint8_t* data, std::size_t size) {
    static const auto key =
        sm9::MasterKey::fromBytes(
            vlox_test::fromHex("0001edee3778f441f8dea3d9fa0acc4e07ee36c93f9a08618af4ad85cede1c22"))
            ->extract(std::string("Bob"));
    const auto plain = key->decrypt({data, size});
    promise(!plain || plain->size() < size, "a text is shorter than its cipher text");
}

void parameterText(const std::uint8_t* data, std::size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    const bool asFile = quil::parametersFromContent(content).has_value();
    QCLSm9Strategy strategy;
    const bool asText = strategy.initialWithKey("server", "", content) == 1;
    promise(asText == !strategy.getSecretKeyBase64().empty(),
            "a wrapped key comes with success and only then");
    promise(asFile || !asText, "a file may hold what a reply may hold");
}

void contentCipher(const std::uint8_t* data, std::size_t size) {
    for (const unsigned int algorithm : {QCL_AES128_CBC, QCL_SM4_CBC, QCL_AES128_BLOCK}) {
        std::vector<unsigned char> plain(size + 1);
        unsigned int length = lengthOf(plain.size());
        const int result = QCLCryptDecrypt(algorithm, bytesOf(kPlain), 16, bytesOf(kPlain), 16, plain.data(),
                                           &length, data, lengthOf(size), 0);
        if (result != QCL_SUCCESS) {
            continue;
        }
        std::vector<unsigned char> again(size);
        unsigned int sealed = lengthOf(again.size());
        promise(QCLCryptEncrypt(algorithm, bytesOf(kPlain), 16, bytesOf(kPlain), 16, again.data(), &sealed,
                                plain.data(), length, 0) == QCL_SUCCESS &&
                    sealed == size && std::equal(again.begin(), again.end(), data),
                "what decrypts is what encrypting gives");
    }
}

void base64(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string bytes = Base64::decode(text);
    promise(bytes.size() <= size / 4 * 3 + 2, "three bytes of four characters");
    promise(Base64::decode(Base64::encode(bytes)) == bytes, "bytes survive");
    promise(Base64::decode(Base64::encode(text)) == text, "any bytes survive");
}

}  // namespace vlox_fuzz
