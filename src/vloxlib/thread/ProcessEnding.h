#ifndef VLOXLIB_THREAD_PROCESSENDING_H
#define VLOXLIB_THREAD_PROCESSENDING_H

namespace vloxlib {

/// @brief Ends the process with std::exit(), from any thread.
///
/// What runs at the end may wait for other threads: the caller holds no lock, and the callbacks' locks, which
/// it holds when a module or a listener called it, are given back here.
[[noreturn]] void endProcess(int code);

}  // namespace vloxlib

#endif
