#ifndef WIN32_IDENTITY_H
#define WIN32_IDENTITY_H

#include <string>

namespace vloxlib {

// What tells this device apart. Failures are silent.

// The device id that an earlier run stored for this user, or a new one, which is stored then. An id that
// can't be stored holds for this run only.
std::string deviceId();

// The operating system's name, with each UTF-16 unit cut to its low byte; empty for one of 32 units or more.
std::string osName();

}  // namespace vloxlib

#endif
