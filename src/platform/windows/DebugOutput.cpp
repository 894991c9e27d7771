#include "platform/DebugOutput.h"

#include <spdlog/sinks/msvc_sink.h>

namespace vloxlib::platform {

std::shared_ptr<spdlog::sinks::sink> makeDebugOutput() {
    return std::make_shared<spdlog::sinks::msvc_sink_st>();
}

}  // namespace vloxlib::platform
