#ifndef TESTS_CRASH_CACHECRASH_H
#define TESTS_CRASH_CACHECRASH_H

#include <map>
#include <string>

#include "crash/CrashRun.h"

namespace vlox_test {

/// Kills a program that works the resolver's cache: the file has to be as the last acknowledged operation
/// left it, or as the one that the kill cut off would have left it, and nothing in between.
class CacheCrash : public CrashRun {
public:
    CacheCrash(const std::string& directory, unsigned seed);
    void killOnce() override;

private:
    struct Domain {
        std::string time;                       // of its first insertion
        std::map<std::string, long> successes;  // of each address
        bool operator==(const Domain& other) const {
            return time == other.time && successes == other.successes;
        }
    };
    using Cache = std::map<std::string, Domain>;

    void checkKnown(const std::string& line);
    static void apply(const std::string& line, Cache& cache);
    Cache look();

    Cache m_acknowledged;
};

}  // namespace vlox_test

#endif
