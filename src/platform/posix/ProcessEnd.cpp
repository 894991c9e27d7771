#include "platform/ProcessEnd.h"

namespace vloxlib::platform {

bool isLastThread() { return false; }

}  // namespace vloxlib::platform
