#include "vloxlib/encrypt/ASymNoEncryptStrategy.h"

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/encrypt/Base64.h"

namespace vloxlib {

namespace {

// Not from `rand`, which gives every process the same letters as long as nobody seeds it.
std::string randomLetters() {
    unsigned char bytes[16] = {};
    QCL_random(bytes, sizeof(bytes));
    std::string letters;
    for (unsigned char byte : bytes) {
        letters += static_cast<char>('a' + byte % 26);
    }
    return letters;
}

}  // namespace

ASymNoEncryptStrategy::ASymNoEncryptStrategy() : QCLAsymStrategy("ASymNoEncryptStrategy") {}

std::string ASymNoEncryptStrategy::getSecretKeyBase64() {
    static const auto& filler = *new std::string(Base64::encode(randomLetters()));
    return filler;
}

int ASymNoEncryptStrategy::initial() { return QCL_SUCCESS; }

}  // namespace vloxlib
