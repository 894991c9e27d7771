#include "vloxlib/encrypt/QclContent.h"

#include "quilcrypto/QuilCryptoLib.h"

namespace vloxlib::qclcontent {

namespace {

constexpr unsigned int kIvLength = 16;

}  // namespace

bool isKey(const unsigned char* key, std::size_t length) {
    unsigned char bits = 0;
    for (std::size_t at = 0; key != nullptr && at < length; ++at) {
        bits = static_cast<unsigned char>(bits | key[at]);
    }
    return bits != 0;
}

bool Key::encrypt(const unsigned char* input, unsigned int inputLength, unsigned char* output,
                  unsigned int& outputLength) const {
    return isKey(bytes, length) && QCLCryptEncrypt(selector, bytes, length, iv, kIvLength, output,
                                                   &outputLength, input, inputLength, 0) == QCL_SUCCESS;
}

bool Key::decrypt(const unsigned char* input, unsigned int inputLength, unsigned char* output,
                  unsigned int& outputLength) const {
    return isKey(bytes, length) && QCLCryptDecrypt(selector, bytes, length, iv, kIvLength, output,
                                                   &outputLength, input, inputLength, 0) == QCL_SUCCESS;
}

}  // namespace vloxlib::qclcontent
