#include "platform/DebugOutput.h"

#include <spdlog/sinks/sink.h>

namespace vloxlib::platform {

std::shared_ptr<spdlog::sinks::sink> makeDebugOutput() { return nullptr; }

}  // namespace vloxlib::platform
