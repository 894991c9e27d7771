#ifndef VLOXLIB_HTTP_CLIENTIDENTITY_H
#define VLOXLIB_HTTP_CLIENTIDENTITY_H

#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <vector>

#include "vloxlib/http/PemBlocks.h"
#include "vloxlib/http/PemCertificates.h"

namespace vloxlib {

/// @brief A client's private key, its certificate and the chain of those who issued it, out of one PEM text
/// in any order.
///
/// The client's certificate is the one that the key fits, else the first. Key and certificate may be missing,
/// when the text or the password was wrong. Threads: one object from several at a time, as it doesn't change.
class ClientIdentity {
public:
    /// @param password of the key; empty for a key that has none. It isn't kept.
    /// @return never null; the same object for the same text and password, as long as it is among the latest
    static std::shared_ptr<const ClientIdentity> of(const std::string& pem, const std::string& password);

    ClientIdentity(const std::string& pem, const std::string& password);

    /// @brief Makes a context present the certificate with its chain. What is missing or doesn't fit is
    /// logged, each time.
    void useOn(SSL_CTX* context) const;

private:
    void readKey(const std::vector<PemBlock>& blocks, const std::string& password);
    void readCertificates(const std::vector<PemBlock>& blocks, const std::string& password);

    Certificates m_certificates;  // the client's own first, behind it who issued it, and so on
    OpensslHandle<EVP_PKEY> m_key;
    const char* m_lockedKey = nullptr;  // why an encrypted key couldn't be read
};

}  // namespace vloxlib

#endif
