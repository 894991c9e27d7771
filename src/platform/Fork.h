#ifndef PLATFORM_FORK_H
#define PLATFORM_FORK_H

#include <functional>

namespace vloxlib::platform {

/// @brief What is to be done around the making of a copy of the process, on systems that copy processes.
///
/// The child has a copy of all memory, but of all threads only the one that forked.
struct ForkHandlers {
    std::function<void()> before;
    std::function<void()> inParent;
    std::function<void()> inChild;
};

/// @brief Adds handlers, for the rest of the process. Those added last come first ahead of the copy, and last
/// behind it. Threads: any, but not from within a handler.
void onFork(ForkHandlers handlers);

}  // namespace vloxlib::platform

#endif
