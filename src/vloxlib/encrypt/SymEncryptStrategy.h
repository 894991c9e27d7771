#ifndef VLOXLIB_ENCRYPT_SYMENCRYPTSTRATEGY_H
#define VLOXLIB_ENCRYPT_SYMENCRYPTSTRATEGY_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief Encrypts and decrypts byte strings and files under a key that the caller gives on each call.
///
/// Keys are a pointer to bytes and their number, 16 in practice, borrowed for the call and not kept. Byte
/// strings may hold any byte. All strategies use one fixed initialisation vector, agreed with the service, so
/// that one plain text under one key always gives one cipher text. Threads: a strategy doesn't change after
/// its construction, calls may overlap. Errors: content operations give the empty string and log at level 4;
/// nothing is thrown but std::bad_alloc. A key of zero bytes alone is what remains where none could be made:
/// whatever encrypts or decrypts fails under it, and touches no file.
class VLOX_API SymEncryptStrategy {
public:
    virtual ~SymEncryptStrategy();
    SymEncryptStrategy(const SymEncryptStrategy&) = delete;
    SymEncryptStrategy& operator=(const SymEncryptStrategy&) = delete;

    /// @return the cipher text as plain bytes, not encoded; empty when the cipher failed
    virtual std::string encryptData(const unsigned char* key, unsigned int keyLength,
                                    const std::string& plain);
    /// @return the plain text; empty when the cipher failed
    virtual std::string decryptData(const unsigned char* key, unsigned int keyLength,
                                    const std::string& cipher);

    /// Encrypts a file block by block with blockEncrypt(); the destination is replaced.
    /// @return false without a key and when a block could not be encrypted, otherwise true, also when a file
    /// did not open
    virtual bool encryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                             const std::string& destination);
    /// Decrypts a file block by block with blockDecrypt(), whose result is not looked at, and appends to the
    /// destination.
    /// @return false on success, true without a key, when the source is cut off or a file could not be opened
    virtual bool decryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                             const std::string& destination);

    /// @return a capacity that is enough for cipherEncrypt()
    virtual unsigned int getEncryptBufferSize(unsigned int inputLength);
    /// @param outputLength in: the capacity of output; out: the written length
    /// @return false when the cipher failed
    virtual bool cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                               unsigned int inputLength, unsigned char* output,
                               unsigned int& outputLength) = 0;
    /// @return a capacity that is enough for cipherDecrypt()
    virtual unsigned int getDecryptBufferSize(unsigned int inputLength);
    /// @param outputLength in: the capacity of output; out: the written length
    /// @return false when the cipher failed
    virtual bool cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                               unsigned int inputLength, unsigned char* output,
                               unsigned int& outputLength) = 0;
    /// One block of 16 bytes, without chaining and padding.
    /// @return false when the strategy has no such operation, as here, or when it failed
    virtual bool blockEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                              unsigned int inputLength, unsigned char* output, unsigned int& outputLength);
    /// The inverse of blockEncrypt().
    virtual bool blockDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                              unsigned int inputLength, unsigned char* output, unsigned int& outputLength);

protected:
    explicit SymEncryptStrategy(const std::string& strategyName);

    static constexpr unsigned int kIvLength = 16;
    unsigned char m_iv[kIvLength];
    const std::string m_strategyName;

private:
    std::string doEncryptData(const unsigned char* key, unsigned int keyLength, const std::string& input);
    std::string doDecryptData(const unsigned char* key, unsigned int keyLength, const std::string& input);
};

}  // namespace vloxlib

#endif
