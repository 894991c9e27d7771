#ifndef TESTS_CRASH_LOGCRASH_H
#define TESTS_CRASH_LOGCRASH_H

#include <string>
#include <vector>

#include "crash/CrashRun.h"

namespace vlox_test {

/// Kills a program that logs, and looks for its lines in the files.
///
/// A line counts as acknowledged when it has been seen in the file, when close_logger() has returned, or when
/// the queue between the caller and the file has been filled anew behind it. The worker handles lines in the
/// order of logging, so all lines ahead of an acknowledged one have to be there too.
class LogCrash : public CrashRun {
public:
    LogCrash(const std::string& directory, unsigned seed);
    void killOnce() override;

private:
    long acknowledgedBy(const std::string& line);
    long countOfNewLines(const std::string& text, const std::string& mark);

    std::string m_text;  // of the files as the last kill left them
};

}  // namespace vlox_test

#endif
