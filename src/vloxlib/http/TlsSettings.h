#ifndef VLOXLIB_HTTP_TLSSETTINGS_H
#define VLOXLIB_HTTP_TLSSETTINGS_H

#include <memory>
#include <optional>
#include <string>

#include "vloxlib/http/ClientIdentity.h"
#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/http/TrustedCertificates.h"

namespace vloxlib {

/// @brief All that decides which servers an exchange accepts, and whom they see. Equal ones decide the same.
struct TlsSettings {
    SecurityPolicy policy;
    bool verifyHost;
    std::optional<TrustedCertificates> trusted;      // absent: nobody is trusted, or nothing is verified
    std::shared_ptr<const ClientIdentity> identity;  // may be null

    bool operator==(const TlsSettings& other) const {
        return policy == other.policy && verifyHost == other.verifyHost && trusted == other.trusted &&
               identity == other.identity;
    }
};

/// @brief Overwrites a text that held a secret.
void cleanse(std::string& secret);

}  // namespace vloxlib

#endif
