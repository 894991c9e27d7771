#ifndef VLOXLIB_HTTP_ROOTCERTIFICATES_H
#define VLOXLIB_HTTP_ROOTCERTIFICATES_H

#include <string>

namespace vloxlib {

/// @brief The public root certificates that the library was built with, PEM, with nothing between them.
std::string builtInRootCertificates();

}  // namespace vloxlib

#endif
