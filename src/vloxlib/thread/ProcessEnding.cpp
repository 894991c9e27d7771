#include "vloxlib/thread/ProcessEnding.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "vloxlib/thread/CallbackLock.h"

namespace vloxlib {

namespace {

// How long another thread's exit may take before a second one ends the process without it.
constexpr std::chrono::seconds kPatience{10};

}  // namespace

void endProcess(int code) {
    CallbackLock::giveBackAll();
    static std::atomic_flag begun = ATOMIC_FLAG_INIT;
    if (begun.test_and_set()) {
        // std::exit() isn't for two threads at a time, and the other one may be waiting for this one's end.
        std::this_thread::sleep_for(kPatience);
        std::_Exit(code);
    }
    std::exit(code);
}

}  // namespace vloxlib
