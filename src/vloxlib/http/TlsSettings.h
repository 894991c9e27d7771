#ifndef VLOXLIB_HTTP_TLSSETTINGS_H
#define VLOXLIB_HTTP_TLSSETTINGS_H

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

#include "vloxlib/http/ClientIdentity.h"
#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/http/TrustedCertificates.h"

namespace vloxlib {

/// @brief What a caller says of trust and identity: texts in PEM and paths of files. Wiped when it goes.
struct TlsChoice {
    TlsChoice() = default;
    TlsChoice(const TlsChoice&) = default;
    TlsChoice& operator=(const TlsChoice&) = default;
    ~TlsChoice();

    SecurityPolicy policy = SECURITY_POLICY_PLAIN;
    bool verifyHost = true;
    std::string caPath;
    std::string caContent;
    std::string clientCertPath;
    std::string clientCertContent;
    std::string keyPassword;
};

/// @brief All that decides which servers an exchange accepts, and whom they see. Equal ones decide the same.
struct TlsSettings {
    /// @brief Reads what was chosen, files included, and starts OpenSSL if there is any need of it.
    static TlsSettings of(const TlsChoice& choice);

    /// @brief Makes a handle heed these, which have to outlive it.
    void putOn(CURL* curl) const;

    SecurityPolicy policy;
    bool verifyHost;
    std::optional<TrustedCertificates> trusted;      // absent: nobody is trusted, or nothing is verified
    std::shared_ptr<const ClientIdentity> identity;  // may be null

    bool operator==(const TlsSettings& other) const {
        return policy == other.policy && verifyHost == other.verifyHost && trusted == other.trusted &&
               identity == other.identity;
    }
};

}  // namespace vloxlib

#endif
