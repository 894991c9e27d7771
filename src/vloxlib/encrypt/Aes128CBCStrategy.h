#ifndef VLOXLIB_ENCRYPT_AES128CBCSTRATEGY_H
#define VLOXLIB_ENCRYPT_AES128CBCSTRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/SymEncryptStrategy.h>
#include <string>

namespace vloxlib {

/// @brief AES-128: content in CBC mode, files block by block in ECB mode, both with PKCS#7 padding.
class VLOX_API Aes128CBCStrategy : public SymEncryptStrategy {
public:
    Aes128CBCStrategy();

    /// The destination is replaced. The first 16 bytes of the key are used, whatever its length is said to
    /// be.
    /// @return false when a file could not be opened, read or written
    bool encryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override;
    /// Appends to the destination. A wrong key gives no error but other bytes.
    /// @return false when a file could not be opened, read or written, or the source is cut off
    bool decryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override;

    bool cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
    bool cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                       unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
    bool blockEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                      unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;
    bool blockDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                      unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override;

private:
    static int aesEncryptFile(const unsigned char* key, const std::string& source,
                              const std::string& destination);
    static int aesDecryptFile(const unsigned char* key, const std::string& source,
                              const std::string& destination);
};

}  // namespace vloxlib

#endif
