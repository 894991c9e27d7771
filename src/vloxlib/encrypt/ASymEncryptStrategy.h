#ifndef VLOXLIB_ENCRYPT_ASYMENCRYPTSTRATEGY_H
#define VLOXLIB_ENCRYPT_ASYMENCRYPTSTRATEGY_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief Makes a session key and wraps it for the server; encrypts no content itself.
class VLOX_API ASymEncryptStrategy {
public:
    virtual ~ASymEncryptStrategy();
    ASymEncryptStrategy(const ASymEncryptStrategy&) = delete;
    ASymEncryptStrategy& operator=(const ASymEncryptStrategy&) = delete;

    /// @return the wrapped session key in URL-safe Base64
    virtual std::string getSecretKeyBase64() = 0;
    /// @return the session key: 16 bytes, any of which may be zero
    virtual std::string getSecretKey() = 0;

protected:
    explicit ASymEncryptStrategy(const std::string& strategyName);

    const std::string m_strategyName;
};

}  // namespace vloxlib

#endif
