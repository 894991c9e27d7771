#ifndef PLATFORM_PRODUCTNAME_H
#define PLATFORM_PRODUCTNAME_H

#include <string>

namespace vloxlib::platform {

/// @brief The operating system's name for people, in UTF-8; empty when it doesn't tell.
std::string productName();

}  // namespace vloxlib::platform

#endif
