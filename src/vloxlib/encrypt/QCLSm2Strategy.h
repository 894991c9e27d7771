#ifndef VLOXLIB_ENCRYPT_QCLSM2STRATEGY_H
#define VLOXLIB_ENCRYPT_QCLSM2STRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/QCLAsymStrategy.h>

namespace vloxlib {

/// @brief Wraps the session key under an SM2 public key; its text is the URL-safe Base64 of the raw point.
class VLOX_API QCLSm2Strategy : public QCLAsymStrategy {
public:
    QCLSm2Strategy();

    int initial() override;
    int initPubKeyContext() override;
};

}  // namespace vloxlib

#endif
