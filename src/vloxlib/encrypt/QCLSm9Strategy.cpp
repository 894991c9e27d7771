#include "vloxlib/encrypt/QCLSm9Strategy.h"

#include <utility>

#include "quilcrypto/QuilCryptoLib.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/UrlBase64.h"

namespace vloxlib {

namespace {

constexpr int kParamsAttribute = 5;
constexpr int kAlgorithmAttribute = 3;
constexpr unsigned int kAlgorithmFamilyMask = 0xFE000000;

void removeFirst(std::string& text, const std::string& part) {
    const auto place = text.find(part);
    if (place != std::string::npos) {
        text.erase(place, part.size());
    }
}

}  // namespace

QCLSm9Strategy::QCLSm9Strategy() : QCLAsymStrategy("QCLSm9Strategy") {}

QCLSm9Strategy::~QCLSm9Strategy() {
    VLOX_LOG(2, "called");
    QCLDestroyIBCParamObject(m_ibcParamObject);
    QCLDestroyLibCtx(m_libCtx);
}

int QCLSm9Strategy::initialWithKey(const std::string& pubKey, const std::string& ibcParamFilePath,
                                   const std::string& ibcParamContent) {
    m_ibcParmFilePath = ibcParamFilePath;
    m_ibcParamContent = ibcParamContent;
    return QCLAsymStrategy::initialWithKey(pubKey, ibcParamFilePath, ibcParamContent);
}

int QCLSm9Strategy::initial() {
    forgetSecretKey();
    int result = m_libCtx != nullptr ? QCL_SUCCESS : QCLCreateLibCtx(&m_libCtx);
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "CreateLibCtx failed. ret=%d", result);
        return result;
    }
    result = initParamContext();
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "CreateIBCParamObjectFromFile failed. ret=%d", result);
        return result;
    }
    result = initPubKeyContext();
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

int QCLSm9Strategy::initParamContext() {
    if (m_ibcParmFilePath.empty()) {
        VLOX_LOG(3, "m_ibcParmFilePath is empty");
    }
    QCLDestroyIBCParamObject(m_ibcParamObject);
    m_ibcParamObject = nullptr;
    const int result = m_ibcParmFilePath.empty()
                           ? initParamFromContent()
                           : QCLCreateIBCParamObjectFromFile(&m_ibcParamObject, m_ibcParmFilePath.c_str());
    if (result != QCL_SUCCESS) {
        return result;
    }
    return QCLSetLibCtxAttribute(m_libCtx, kParamsAttribute, m_ibcParamObject, 0);
}

int QCLSm9Strategy::initParamFromContent() {
    std::string text = m_ibcParamContent;
    if (text.empty()) {
        return -1;
    }
    removeFirst(text, "-----BEGIN IBC PARAMETERS-----");
    removeFirst(text, "-----END IBC PARAMETERS-----");
    const std::string bytes = urlbase64::decodeEither(std::move(text));
    return QCLCreateIBCParamObjectFromMem(&m_ibcParamObject,
                                          reinterpret_cast<const unsigned char*>(bytes.data()),
                                          static_cast<unsigned int>(bytes.size()));
}

int QCLSm9Strategy::getAlgType() {
    unsigned int value = 0;
    const int result = QCLGetIBCParamAttribute(m_ibcParamObject, kAlgorithmAttribute, &value, nullptr);
    if (result != QCL_SUCCESS) {
        VLOX_LOG(4, "GetKGAFromIBCParam failed, ret=%d", result);
        return -1;
    }
    switch (value & kAlgorithmFamilyMask) {
        case 0x22000000:
            return 0x220B5880;
        case 0x28000000:
            return 0x280B7080;
        default:
            return 0;
    }
}

int QCLSm9Strategy::initPubKeyContext() {
    QCLDestroyPubKeyObject(m_pubKeyObject);
    m_pubKeyObject = nullptr;
    return QCLCreateIBCPubKeyObjectEx(&m_pubKeyObject, getAlgType(), m_ibcParamObject,
                                      reinterpret_cast<const unsigned char*>(m_pubKey.data()),
                                      static_cast<unsigned int>(m_pubKey.size()), 0, 1, nullptr, 0);
}

}  // namespace vloxlib
