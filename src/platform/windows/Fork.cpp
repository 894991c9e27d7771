#include "platform/Fork.h"

namespace vloxlib::platform {

// No process is ever a copy of another one.
void onFork(ForkHandlers /*handlers*/) {}

}  // namespace vloxlib::platform
