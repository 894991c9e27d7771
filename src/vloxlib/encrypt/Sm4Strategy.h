#ifndef VLOXLIB_ENCRYPT_SM4STRATEGY_H
#define VLOXLIB_ENCRYPT_SM4STRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/SymEncryptStrategy.h>
#include <string>

namespace vloxlib {

/// @brief SM4 in CBC mode with PKCS#7 padding, for content only.
///
/// Files are not meant to go through it: it has no block operation, so that encryptFile() leaves an empty
/// destination and gives false, and decryptFile() appends zero bytes.
class VLOX_API Sm4Strategy : public SymEncryptStrategy {
public:
    Sm4Strategy();

    bool cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
    bool cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
};

}  // namespace vloxlib

#endif
