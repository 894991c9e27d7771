#ifndef VLOXLIB_ENCRYPT_QCLSM9STRATEGY_H
#define VLOXLIB_ENCRYPT_QCLSM9STRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/QCLAsymStrategy.h>
#include <string>

namespace vloxlib {

/// @brief Wraps the session key for an SM9 identity, under system parameters from a file or from a text.
///
/// A parameter text is the Base64 of their DER form, in either alphabet; line breaks are allowed. It may
/// stand between the lines "-----BEGIN IBC PARAMETERS-----" and "-----END IBC PARAMETERS-----".
class VLOX_API QCLSm9Strategy : public QCLAsymStrategy {
public:
    QCLSm9Strategy();
    ~QCLSm9Strategy() override;

    int initial() override;
    int initialWithKey(const std::string& pubKey, const std::string& ibcParamFilePath,
                       const std::string& ibcParamContent) override;
    int initPubKeyContext() override;

private:
    int initParamContext();
    int initParamFromContent();
    int getAlgType();

    void* m_libCtx = nullptr;          // owned
    void* m_ibcParamObject = nullptr;  // owned
    std::string m_ibcParmFilePath;
    std::string m_ibcParamContent;
};

}  // namespace vloxlib

#endif
