#ifndef DEVSERVER_CREDENTIAL_H
#define DEVSERVER_CREDENTIAL_H

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace devserver {

struct CredentialDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
};

/// What a new certificate is to say.
struct CertificateRequest {
    enum Role { Authority, Server, Client };

    Role role;
    std::string name;   ///< the subject's common name
    std::string hosts;  ///< a server's, such as "DNS:localhost,IP:127.0.0.1"
    int firstDay;       ///< of validity, counted from today
    int lastDay;
};

/// Something about a certificate or a key went wrong; the text is one line.
class CredentialError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A certificate and its private key. Operations throw CredentialError.
class Credential {
public:
    /// With a new key.
    /// @param issuer signs it; null: it signs itself
    Credential(const CertificateRequest& request, const Credential* issuer);
    /// @param pem      certificate and key, in this order
    /// @param password the key's, where it has one
    Credential(const std::string& pem, const std::string& password);

    bool isIssuedBy(const Credential& issuer) const;

    std::string certificatePem() const;
    /// @param password protects the key; empty: it stands there in the clear
    std::string keyPem(const std::string& password) const;

private:
    std::unique_ptr<EVP_PKEY, CredentialDeleter> m_key;
    std::unique_ptr<X509, CredentialDeleter> m_certificate;
};

}  // namespace devserver

#endif
