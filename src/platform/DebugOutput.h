#ifndef PLATFORM_DEBUGOUTPUT_H
#define PLATFORM_DEBUGOUTPUT_H

#include <memory>

namespace spdlog::sinks {
class sink;
}

namespace vloxlib::platform {

/// @brief A log sink that shows its lines in an attached debugger; null on systems without such an output.
///
/// Threads: one at a time.
std::shared_ptr<spdlog::sinks::sink> makeDebugOutput();

}  // namespace vloxlib::platform

#endif
