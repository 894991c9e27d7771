#include "vloxlib/encrypt/SymEncryptStrategy.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "vloxlib/encrypt/BlockFile.h"
#include "vloxlib/encrypt/DeploymentSecrets.h"
#include "vloxlib/encrypt/QclContent.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr unsigned int kGrowth = 32;  // the most that a cipher may add to its input
constexpr unsigned int kBlockLength = static_cast<unsigned int>(blockfile::kBlock);

bool fits(const std::string& input) {
    return input.size() <= std::numeric_limits<unsigned int>::max() - kGrowth;
}

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(&text[0]); }

}  // namespace

SymEncryptStrategy::SymEncryptStrategy(const std::string& strategyName) : m_strategyName(strategyName) {
    static_assert(sizeof(kSymIv) == kIvLength + 1, "the initialisation vector has 16 characters");
    std::memcpy(m_iv, kSymIv, kIvLength);
}

SymEncryptStrategy::~SymEncryptStrategy() = default;

std::string SymEncryptStrategy::encryptData(const unsigned char* key, unsigned int keyLength,
                                            const std::string& plain) {
    return doEncryptData(key, keyLength, plain);
}

std::string SymEncryptStrategy::decryptData(const unsigned char* key, unsigned int keyLength,
                                            const std::string& cipher) {
    return doDecryptData(key, keyLength, cipher);
}

std::string SymEncryptStrategy::doEncryptData(const unsigned char* key, unsigned int keyLength,
                                              const std::string& input) {
    if (fits(input)) {
        const auto inputLength = static_cast<unsigned int>(input.size());
        unsigned int length = getEncryptBufferSize(inputLength);
        std::string output(length, '\0');
        if (cipherEncrypt(key, keyLength, bytesOf(input), inputLength, bytesOf(output), length)) {
            output.resize(length);
            return output;
        }
    }
    VLOX_LOG(4, "doEncryptData error");
    return std::string();
}

std::string SymEncryptStrategy::doDecryptData(const unsigned char* key, unsigned int keyLength,
                                              const std::string& input) {
    if (fits(input)) {
        const auto inputLength = static_cast<unsigned int>(input.size());
        unsigned int length = getDecryptBufferSize(inputLength);
        std::string output(length, '\0');
        if (cipherDecrypt(key, keyLength, bytesOf(input), inputLength, bytesOf(output), length)) {
            output.resize(length);
            return output;
        }
    }
    VLOX_LOG(4, "doDecryptData error");
    return std::string();
}

bool SymEncryptStrategy::encryptFile(const unsigned char* key, unsigned int keyLength,
                                     const std::string& source, const std::string& destination) {
    if (!qclcontent::isKey(key, keyLength)) {
        return false;
    }
    const auto encryptBlock = [&](unsigned char* block, std::size_t) {
        unsigned char output[kBlockLength] = {};
        unsigned int length = kBlockLength;
        if (!blockEncrypt(key, keyLength, block, kBlockLength, output, length)) {
            return false;
        }
        std::copy_n(output, kBlockLength, block);
        return true;
    };
    // Only a failing block counts here; a file that doesn't open passes for success.
    return blockfile::encrypt(source, destination, blockfile::kBlock, encryptBlock) !=
           blockfile::kCipherFailed;
}

bool SymEncryptStrategy::decryptFile(const unsigned char* key, unsigned int keyLength,
                                     const std::string& source, const std::string& destination) {
    // The sense of all results is reversed; callers know it so.
    if (!qclcontent::isKey(key, keyLength)) {
        return true;
    }
    unsigned char output[kBlockLength] = {};
    const auto decryptBlock = [&](unsigned char* block, std::size_t) {
        unsigned int length = kBlockLength;
        blockDecrypt(key, keyLength, block, kBlockLength, output, length);
        std::copy_n(output, kBlockLength, block);
        return true;
    };
    return blockfile::decrypt(source, destination, blockfile::kBlock, decryptBlock) != blockfile::kDone;
}

unsigned int SymEncryptStrategy::getEncryptBufferSize(unsigned int inputLength) {
    return inputLength + kGrowth;
}

unsigned int SymEncryptStrategy::getDecryptBufferSize(unsigned int inputLength) {
    return inputLength + kGrowth;
}

bool SymEncryptStrategy::blockEncrypt(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                      const unsigned char* /*input*/, unsigned int /*inputLength*/,
                                      unsigned char* /*output*/, unsigned int& /*outputLength*/) {
    return false;
}

bool SymEncryptStrategy::blockDecrypt(const unsigned char* /*key*/, unsigned int /*keyLength*/,
                                      const unsigned char* /*input*/, unsigned int /*inputLength*/,
                                      unsigned char* /*output*/, unsigned int& /*outputLength*/) {
    return false;
}

}  // namespace vloxlib
