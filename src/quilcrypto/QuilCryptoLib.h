/// @file
/// @brief The cryptographic functions that the library is built on: SM2, SM4, SM9, AES-128 and random bytes.
///
/// This header is all that the callers know. What stands behind it is our own implementation or, at build
/// time, another library with the same functions.
///
/// Results: 1 is success, anything else an error; our own implementation returns the values of QCLResult. A
/// function that fails leaves its out handle null and nothing behind. No function logs, throws or keeps a
/// pointer that it was given; all may be called from any thread, and objects may be shared between threads
/// once they are made.
///
/// Handles are opaque and belong to the caller until the matching destroy function; destroying null does
/// nothing. Lengths are in bytes.
#ifndef QUILCRYPTO_QUILCRYPTOLIB_H
#define QUILCRYPTO_QUILCRYPTOLIB_H

#ifdef __cplusplus
extern "C" {
#endif

/// Results of our own implementation.
enum QCLResult {
    QCL_SUCCESS = 1,
    QCL_ERROR_NULL = -3001,       ///< a pointer or handle that is needed is null
    QCL_ERROR_LENGTH = -3002,     ///< a length that the operation has no use for
    QCL_ERROR_ALGORITHM = -3003,  ///< an unknown cipher selector or algorithm number
    QCL_ERROR_CAPACITY = -3004,   ///< the output doesn't fit; its length then tells what is enough
    QCL_ERROR_DATA = -3005,  ///< a cipher text that is malformed, wrongly padded or not made for this key
    QCL_ERROR_KEY = -3006,   ///< key bytes that are no point of the curve
    QCL_ERROR_PARAMETERS = -3007,  ///< system parameters that are malformed or no point of the curve
    QCL_ERROR_FILE = -3008,        ///< a file that can't be read
    QCL_ERROR_HANDLE = -3009,      ///< a handle of another kind of object
    QCL_ERROR_ATTRIBUTE = -3010,   ///< an attribute number that the object doesn't have
    QCL_ERROR_RESERVED = -3011,    ///< a reserved argument with a value other than the one told
    QCL_ERROR_INTERNAL = -3012     ///< the cryptographic library beneath failed, or memory ran out
};

/// Selectors of QCLCryptEncrypt and QCLCryptDecrypt. Keys, vectors and blocks have 16 bytes.
enum QCLCipher {
    QCL_AES128_CBC = 17,    ///< PKCS#7 padding
    QCL_AES128_BLOCK = 19,  ///< exactly one block, without padding; a vector is checked but not used
    QCL_SM4_CBC = 81        ///< PKCS#7 padding
};

/// Attribute numbers.
enum QCLAttribute {
    QCL_ATTRIBUTE_ALGORITHM = 3,  ///< of a parameter object: a number whose top seven bits name the algorithm
    QCL_ATTRIBUTE_PARAMETERS = 5  ///< of a library context: its parameter object
};

/// Algorithm numbers of QCLCreateIBCPubKeyObjectEx; both name SM9 encryption with the hid of encryption, 3.
enum QCLAlgorithm { QCL_SM9_ENCRYPTION = 0x220B5880, QCL_SM9_ENCRYPTION_2 = 0x280B7080 };

/// Fills a buffer from the cryptographic random source.
int QCL_random(unsigned char* buffer, unsigned int length);

/// Encrypts a text. The output's capacity comes in through outputLength, and the written length goes out
/// through it. Output and input must not overlap.
/// @param reserved 0
int QCLCryptEncrypt(unsigned int algorithm, const unsigned char* key, unsigned int keyLength,
                    const unsigned char* iv, unsigned int ivLength, unsigned char* output,
                    unsigned int* outputLength, const unsigned char* input, unsigned int inputLength,
                    unsigned int reserved);

/// The inverse. A text of n bytes never needs a capacity above n, and one of n bytes is always enough.
/// @param reserved 0
int QCLCryptDecrypt(unsigned int algorithm, const unsigned char* key, unsigned int keyLength,
                    const unsigned char* iv, unsigned int ivLength, unsigned char* output,
                    unsigned int* outputLength, const unsigned char* input, unsigned int inputLength,
                    unsigned int reserved);

/// Makes a public key object of a raw SM2 point: x and y, 64 bytes, or the same behind a byte 04.
/// @param reserved 0
int QCLCreateSM2PubKeyObjectFromMem(void** key, const unsigned char* bytes, unsigned int length,
                                    unsigned int reserved);

int QCLCreateLibCtx(void** context);
void QCLDestroyLibCtx(void* context);
/// Binds a parameter object to a context; the two may be destroyed in either order.
/// @param attribute QCL_ATTRIBUTE_PARAMETERS
/// @param reserved 0
int QCLSetLibCtxAttribute(void* context, int attribute, void* parameters, unsigned int reserved);

/// Reads SM9 system parameters from a file: the DER bytes, or the Base64 of them in either alphabet, with
/// marker lines or without.
/// @param path UTF-8
int QCLCreateIBCParamObjectFromFile(void** parameters, const char* path);
/// Reads SM9 system parameters from DER bytes: SEQUENCE { Ppube BIT STRING } or the bare BIT STRING.
int QCLCreateIBCParamObjectFromMem(void** parameters, const unsigned char* bytes, unsigned int length);
void QCLDestroyIBCParamObject(void* parameters);
/// @param attribute QCL_ATTRIBUTE_ALGORITHM
/// @param reserved null
int QCLGetIBCParamAttribute(void* parameters, int attribute, unsigned int* value, void* reserved);

/// Makes a public key object for an identity under system parameters, which need not outlive it.
/// @param algorithm a QCLAlgorithm
/// @param reserved0, reserved1, reservedNull, reservedLength 0, 1, null, 0
int QCLCreateIBCPubKeyObjectEx(void** key, int algorithm, void* parameters, const unsigned char* identity,
                               unsigned int identityLength, unsigned int reserved0, unsigned int reserved1,
                               void* reservedNull, unsigned int reservedLength);

void QCLDestroyPubKeyObject(void* key);

/// Encrypts data under a public key, 1 to 255 bytes of it, as a DER SM2Cipher or SM9Cipher.
/// @param output null to ask only for a sufficient capacity
/// @param outputLength in: the capacity, when output isn't null; out: the length
/// @param reserved1, reserved2 null
int QCLCryptExportData(void* key, const unsigned char* data, unsigned int length, unsigned char* output,
                       unsigned int* outputLength, void* reserved1, void* reserved2);

#ifdef __cplusplus
}
#endif

#endif
