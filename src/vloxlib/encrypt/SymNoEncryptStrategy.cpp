#include "vloxlib/encrypt/SymNoEncryptStrategy.h"

#include <algorithm>

#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

bool copy(const unsigned char* input, unsigned int inputLength, unsigned char* output,
          unsigned int& outputLength) {
    if (outputLength < inputLength) {
        return false;
    }
    outputLength = inputLength;
    std::copy_n(input, inputLength, output);
    return true;
}

}  // namespace

SymNoEncryptStrategy::SymNoEncryptStrategy() : SymEncryptStrategy("SymNoEncryptStrategy") {}

bool SymNoEncryptStrategy::encryptFile(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                       const std::string& source, const std::string& destination) {
    return FileUtil::copyFile(source, destination);
}

bool SymNoEncryptStrategy::decryptFile(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                       const std::string& source, const std::string& destination) {
    return FileUtil::copyFile(source, destination);
}

unsigned int SymNoEncryptStrategy::getEncryptBufferSize(unsigned int inputLength) { return inputLength; }

bool SymNoEncryptStrategy::cipherEncrypt(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                         const unsigned char* input, unsigned int inputLength,
                                         unsigned char* output, unsigned int& outputLength) {
    return copy(input, inputLength, output, outputLength);
}

unsigned int SymNoEncryptStrategy::getDecryptBufferSize(unsigned int inputLength) { return inputLength; }

bool SymNoEncryptStrategy::cipherDecrypt(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                         const unsigned char* input, unsigned int inputLength,
                                         unsigned char* output, unsigned int& outputLength) {
    return copy(input, inputLength, output, outputLength);
}

}  // namespace vloxlib
