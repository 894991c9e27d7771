#ifndef PLATFORM_PROCESSEND_H
#define PLATFORM_PROCESSEND_H

namespace vloxlib::platform {

/// @brief Whether the process goes down and the calling thread is the only one left: the system has ended all
/// others, wherever they stood. What they held locked stays locked for ever.
///
/// Never so on systems that let threads run until the process is gone.
bool isLastThread();

}  // namespace vloxlib::platform

#endif
