// Content under a key that somebody made: the functions of the cryptographic library for it, behind the rule
// that nothing is encrypted or decrypted under a key that isn't there.
#ifndef VLOXLIB_ENCRYPT_QCLCONTENT_H
#define VLOXLIB_ENCRYPT_QCLCONTENT_H

#include <cstddef>

namespace vloxlib::qclcontent {

// A key that couldn't be made is null, or memory that nobody has written to: all zeros. Constant time in the
// bytes.
bool isKey(const unsigned char* key, std::size_t length);

// Under one of the selectors of QCLCryptEncrypt; the vector has 16 bytes. False without a key, and when the
// cipher failed.
struct Key {
    unsigned int selector;
    const unsigned char* bytes;
    unsigned int length;
    const unsigned char* iv;

    bool encrypt(const unsigned char* input, unsigned int inputLength, unsigned char* output,
                 unsigned int& outputLength) const;
    bool decrypt(const unsigned char* input, unsigned int inputLength, unsigned char* output,
                 unsigned int& outputLength) const;
};

}  // namespace vloxlib::qclcontent

#endif
