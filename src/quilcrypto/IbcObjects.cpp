// SM9: library contexts, system parameters and the public key objects of identities. The algorithm isn't
// there yet: every attempt to make an object is refused, so that a strategy logs and fails.
#include "quilcrypto/QuilCryptoLib.h"

int QCLCreateLibCtx(void** /*context*/) { return QCL_ERROR_ALGORITHM; }

void QCLDestroyLibCtx(void* /*context*/) {}

int QCLSetLibCtxAttribute(void* /*context*/, int /*attribute*/, void* /*parameters*/,
                          unsigned int /*reserved*/) {
    return QCL_ERROR_ALGORITHM;
}

int QCLCreateIBCParamObjectFromFile(void** /*parameters*/, const char* /*path*/) {
    return QCL_ERROR_ALGORITHM;
}

int QCLCreateIBCParamObjectFromMem(void** /*parameters*/, const unsigned char* /*bytes*/,
                                   unsigned int /*length*/) {
    return QCL_ERROR_ALGORITHM;
}

void QCLDestroyIBCParamObject(void* /*parameters*/) {}

int QCLGetIBCParamAttribute(void* /*parameters*/, int /*attribute*/, unsigned int* /*value*/,
                            void* /*reserved*/) {
    return QCL_ERROR_ALGORITHM;
}

int QCLCreateIBCPubKeyObjectEx(void** /*key*/, int /*algorithm*/, void* /*parameters*/,
                               const unsigned char* /*identity*/, unsigned int /*identityLength*/,
                               unsigned int /*reserved0*/, unsigned int /*reserved1*/, void* /*reservedNull*/,
                               unsigned int /*reservedLength*/) {
    return QCL_ERROR_ALGORITHM;
}
