#ifndef VLOXLIB_ENCRYPT_ASYMNOENCRYPTSTRATEGY_H
#define VLOXLIB_ENCRYPT_ASYMNOENCRYPTSTRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/QCLAsymStrategy.h>
#include <string>

namespace vloxlib {

/// @brief No key exchange: the session key stays sixteen zero bytes and nothing is wrapped.
class VLOX_API ASymNoEncryptStrategy : public QCLAsymStrategy {
public:
    ASymNoEncryptStrategy();

    /// @return a filler text in the form of a wrapped key, random but the same for the whole process
    std::string getSecretKeyBase64() override;
    /// @return 1
    int initial() override;
};

}  // namespace vloxlib

#endif
