#include "vloxlib/encrypt/Sm4Strategy.h"

#include "quilcrypto/QuilCryptoLib.h"

namespace vloxlib {

Sm4Strategy::Sm4Strategy() : SymEncryptStrategy("Sm4Strategy") {}

bool Sm4Strategy::cipherEncrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                                unsigned int inputLength, unsigned char* output, unsigned int& outputLength) {
    return QCLCryptEncrypt(QCL_SM4_CBC, key, keyLength, m_iv, kIvLength, output, &outputLength, input,
                           inputLength, 0) == QCL_SUCCESS;
}

bool Sm4Strategy::cipherDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                                unsigned int inputLength, unsigned char* output, unsigned int& outputLength) {
    return QCLCryptDecrypt(QCL_SM4_CBC, key, keyLength, m_iv, kIvLength, output, &outputLength, input,
                           inputLength, 0) == QCL_SUCCESS;
}

}  // namespace vloxlib
