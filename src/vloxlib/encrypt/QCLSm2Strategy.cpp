#include "vloxlib/encrypt/QCLSm2Strategy.h"

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/UrlBase64.h"

namespace vloxlib {

QCLSm2Strategy::QCLSm2Strategy() : QCLAsymStrategy("QCLSm2Strategy") {}

int QCLSm2Strategy::initial() {
    forgetSecretKey();
    int result = initPubKeyContext();
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "initPubKeyContext failed. ret=%d", result);
        return result;
    }
    result = initialSecretKey();
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "initialSecretKey failed. ret=%d", result);
    }
    return result;
}

int QCLSm2Strategy::initPubKeyContext() {
    const std::string bytes = urlbase64::decodeEither(m_pubKey);
    QCLDestroyPubKeyObject(m_pubKeyObject);
    m_pubKeyObject = nullptr;
    return QCLCreateSM2PubKeyObjectFromMem(&m_pubKeyObject,
                                           reinterpret_cast<const unsigned char*>(bytes.data()),
                                           static_cast<unsigned int>(bytes.size()), 0);
}

}  // namespace vloxlib
