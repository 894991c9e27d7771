#include "vloxlib/encrypt/QCLAsymStrategy.h"

#include <openssl/crypto.h>

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

QCLAsymStrategy::QCLAsymStrategy(const std::string& strategyName) : ASymEncryptStrategy(strategyName) {}

QCLAsymStrategy::~QCLAsymStrategy() {
    VLOX_LOG(2, "called");
    QCLDestroyPubKeyObject(m_pubKeyObject);
    OPENSSL_cleanse(m_secretKey, sizeof(m_secretKey));
}

std::string QCLAsymStrategy::getSecretKeyBase64() { return m_secretKeyBase64; }

std::string QCLAsymStrategy::getSecretKey() {
    return std::string(reinterpret_cast<const char*>(m_secretKey), kSecretKeyLength);
}

int QCLAsymStrategy::initial() { return 0; }

int QCLAsymStrategy::initialWithKey(const std::string& pubKey, const std::string& /*ibcParamFilePath*/,
                                    const std::string& /*ibcParamContent*/) {
    m_pubKey = pubKey;
    return initial();
}

int QCLAsymStrategy::initPubKeyContext() { return 0; }

void QCLAsymStrategy::forgetSecretKey() {
    OPENSSL_cleanse(m_secretKey, sizeof(m_secretKey));
    m_secretKeyBase64.clear();
}

// A key that didn't get to its wrapped form is forgotten: the server could not read what is encrypted under
// it.
int QCLAsymStrategy::initialSecretKey() {
    forgetSecretKey();
    const int result = makeSecretKey();
    if (m_secretKeyBase64.empty()) {
        forgetSecretKey();
    }
    return result;
}

int QCLAsymStrategy::makeSecretKey() {
    int result = QCL_random(m_secretKey, kSecretKeyLength);
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "GM_random failed, ret=%d", result);
        return result;
    }
    unsigned int length = 0;
    result =
        QCLCryptExportData(m_pubKeyObject, m_secretKey, kSecretKeyLength, nullptr, &length, nullptr, nullptr);
    std::string wrapped(result == QCL_SUCCESS ? length : 0, '\0');
    if (result == QCL_SUCCESS) {
        result = QCLCryptExportData(m_pubKeyObject, m_secretKey, kSecretKeyLength,
                                    reinterpret_cast<unsigned char*>(&wrapped[0]), &length, nullptr, nullptr);
    }
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "GMCryptExportData failed, ret=%d", result);
        return result;
    }
    wrapped.resize(length);
    m_secretKeyBase64 = Base64::encode(wrapped);
    VLOX_LOG(1, "getSecretKeyBase64=%s", m_secretKeyBase64.c_str());
    if (m_secretKeyBase64.empty()) {
        VLOX_LOG(4, "Base64::encode error");
    }
    return result;
}

}  // namespace vloxlib
