// What the program that is killed can work on. It says "ready"; then each work goes on until the kill and
// tells on the standard output, a line each, what it begins, "try <operation> <arguments>", and what it has
// done, "ok <the same>".
#ifndef TESTS_CRASH_WORK_H
#define TESTS_CRASH_WORK_H

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vlox_test {

// A queue's store. The generation "idle" only opens it, and so migrates it; one that begins with "duel" waits
// for a word on the standard input, opens it and adds a task. Ids carry the generation's name.
void workStore(const std::string& directory, const std::string& generation);
void workLog(const std::string& directory, const std::string& generation);
void workCache(const std::string& directory);
// Downloads and uploads as a file "orders" in the directory says, see TransferCrash.
void workTransfer(const std::string& directory);

inline void tell(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

/// Tells of an operation ahead of it and behind it; a code other than 0 ends the program.
template <typename Operation>
void acknowledge(const std::string& what, Operation operation) {
    tell("try " + what);
    const int code = operation();
    if (code != 0) {
        std::fprintf(stderr, "%s failed: %d\n", what.c_str(), code);
        std::exit(3);
    }
    tell("ok " + what);
}

}  // namespace vlox_test

#endif
