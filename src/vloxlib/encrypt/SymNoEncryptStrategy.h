#ifndef VLOXLIB_ENCRYPT_SYMNOENCRYPTSTRATEGY_H
#define VLOXLIB_ENCRYPT_SYMNOENCRYPTSTRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/SymEncryptStrategy.h>
#include <string>

namespace vloxlib {

/// @brief No encryption: content stays as it is, whatever the key, and files are copied.
class VLOX_API SymNoEncryptStrategy : public SymEncryptStrategy {
public:
    SymNoEncryptStrategy();

    /// @return false when the file could not be copied
    bool encryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override;
    /// @return false when the file could not be copied
    bool decryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override;
    unsigned int getEncryptBufferSize(unsigned int inputLength) override;
    bool cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
    unsigned int getDecryptBufferSize(unsigned int inputLength) override;
    bool cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
};

}  // namespace vloxlib

#endif
