#ifndef VLOXLIB_ENCRYPT_ENCRYPTFACTORY_H
#define VLOXLIB_ENCRYPT_ENCRYPTFACTORY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/EncryptTypes.h>
#include <vloxlib/encrypt/QCLAsymStrategy.h>
#include <vloxlib/encrypt/SymEncryptStrategy.h>
#include <memory>

namespace vloxlib {

/// @brief Makes the strategies that the configured numbers stand for. Any thread.
class VLOX_API EncryptFactory {
public:
    /// An unknown number is logged and gives SM9.
    static std::shared_ptr<QCLAsymStrategy> createAsymStrategy(ASYM_ENCRYPT_TYPE type);
    /// An unknown number is logged and gives AES-128.
    static std::shared_ptr<SymEncryptStrategy> createSymStrategy(SYM_ENCRYPT_TYPE type);
};

}  // namespace vloxlib

#endif
