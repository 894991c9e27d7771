#ifndef VLOXLIB_HTTP_SERVERINFO_H
#define VLOXLIB_HTTP_SERVERINFO_H

#include <vloxlib/encrypt/EncryptTypes.h>
#include <string>

namespace vloxlib {

/// @brief Another zone's server. An address is scheme, host and port.
struct ServerInfo {
    std::string httpAddress;
    std::string httpsAddress;
    ASYM_ENCRYPT_TYPE asymEncryptType = ASYM_NONE;
};

}  // namespace vloxlib

#endif
