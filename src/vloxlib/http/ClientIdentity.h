#ifndef VLOXLIB_HTTP_CLIENTIDENTITY_H
#define VLOXLIB_HTTP_CLIENTIDENTITY_H

#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "vloxlib/http/OpensslHandles.h"

namespace vloxlib {

/// @brief A client's certificate and private key, out of one PEM text, the certificate first.
///
/// Either may be missing, when the text or the password was wrong. Threads: one object from several at a
/// time, as it doesn't change.
class ClientIdentity {
public:
    /// @param password of the key; empty for a key that has none. It isn't kept.
    /// @return never null; the same object for the same text and password, as long as it is among the latest
    static std::shared_ptr<const ClientIdentity> of(const std::string& pem, const std::string& password);

    ClientIdentity(const std::string& pem, const std::string& password);

    /// @brief Makes a context present the certificate. What is missing or doesn't fit is logged, each time.
    void useOn(SSL_CTX* context) const;

private:
    OpensslHandle<X509> m_certificate;
    OpensslHandle<EVP_PKEY> m_key;
};

}  // namespace vloxlib

#endif
