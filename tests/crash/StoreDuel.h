#ifndef TESTS_CRASH_STOREDUEL_H
#define TESTS_CRASH_STOREDUEL_H

#include <string>

#include "crash/CrashRun.h"

namespace vlox_test {

/// Lets two programs open one store at the same moment: one of them has it, the other ends with the code 1,
/// and who comes when the first one has been killed gets it.
class StoreDuel : public CrashRun {
public:
    StoreDuel(const std::string& directory, unsigned seed) : CrashRun("store", directory, seed) {}

    void killOnce() override;
};

}  // namespace vlox_test

#endif
