#include "platform/InetAddress.h"

#include <winsock2.h>

namespace vloxlib::platform {

bool isInetAddress(const std::string& text) { return inet_addr(text.c_str()) != INADDR_NONE; }

}  // namespace vloxlib::platform
