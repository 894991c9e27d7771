#include "vloxlib/encrypt/Sm4Strategy.h"

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/encrypt/QclContent.h"

namespace vloxlib {

Sm4Strategy::Sm4Strategy() : SymEncryptStrategy("Sm4Strategy") {}

bool Sm4Strategy::cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                                unsigned int inputLength, unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_SM4_CBC, key, keyLength, m_iv}.encrypt(input, inputLength, output,
                                                                      outputLength);
}

bool Sm4Strategy::cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                                unsigned int inputLength, unsigned char* output, unsigned int& outputLength) {
    return qclcontent::Key{QCL_SM4_CBC, key, keyLength, m_iv}.decrypt(input, inputLength, output,
                                                                      outputLength);
}

}  // namespace vloxlib
