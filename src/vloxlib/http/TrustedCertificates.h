#ifndef VLOXLIB_HTTP_TRUSTEDCERTIFICATES_H
#define VLOXLIB_HTTP_TRUSTEDCERTIFICATES_H

#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "vloxlib/http/PemCertificates.h"

namespace vloxlib {

/// @brief Whom an exchange trusts: a text of the caller's, the built-in roots and a file's text.
///
/// Holds references to parsed certificates and costs next to nothing for texts that have been parsed. Equal
/// ones trust the same. Threads: one object from several at a time, as it doesn't change.
class TrustedCertificates {
public:
    TrustedCertificates(const std::string& caContent, const std::string& caFileContent);

    /// @brief Makes a context of libcurl's trust these, beside what its store may hold already.
    void addTo(SSL_CTX* context) const;

    bool operator==(const TrustedCertificates& other) const {
        return m_content == other.m_content && m_fileContent == other.m_fileContent;
    }

private:
    void addTo(X509_STORE* store) const;
    std::shared_ptr<X509_STORE> storeWith(unsigned long flags) const;

    std::shared_ptr<const Certificates> m_content;
    std::shared_ptr<const Certificates> m_fileContent;
};

}  // namespace vloxlib

#endif
