#ifndef PLATFORM_INETADDRESS_H
#define PLATFORM_INETADDRESS_H

#include <string>

namespace vloxlib::platform {

/// Whether the system's classic conversion reads the text as an IPv4 address. It takes short and hexadecimal
/// forms too ("1", "0x7f.1"), and can't tell "255.255.255.255" from a failure.
bool isInetAddress(const std::string& text);

}  // namespace vloxlib::platform

#endif
