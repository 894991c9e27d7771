#ifndef VLOXLIB_HTTP_PEMCERTIFICATES_H
#define VLOXLIB_HTTP_PEMCERTIFICATES_H

#include <memory>
#include <string>
#include <vector>

#include "vloxlib/http/OpensslHandles.h"

namespace vloxlib {

using Certificates = std::vector<OpensslHandle<X509>>;

/// @brief The certificates of a PEM text, in their order; what else stands in it is passed over.
///
/// A malformed certificate is logged and left out, and those around it are read all the same. Each distinct
/// text is parsed once, as long as it is among the latest: the same text gives the same object. Threads: any.
std::shared_ptr<const Certificates> certificatesOf(const std::string& pem);

/// @brief The built-in root certificates, parsed once.
const Certificates& rootCertificates();

}  // namespace vloxlib

#endif
