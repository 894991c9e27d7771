#ifndef TESTS_CRASH_STORECRASH_H
#define TESTS_CRASH_STORECRASH_H

#include <map>
#include <string>
#include <vector>

#include "crash/CrashRun.h"

namespace vlox_test {

/// Kills a program that works a store, again and again, and holds the file against what was acknowledged.
///
/// The model keeps for each id the places in which it may be: an acknowledged operation leaves one, one that
/// the kill cut off leaves the place before and the place behind.
class StoreCrash : public CrashRun {
public:
    StoreCrash(const std::string& directory, unsigned seed);

    void killOnce() override;
    /// Over a fresh file of the older layout, killed while it is rewritten.
    void killMigration(const std::string& oldDirectory);

private:
    enum Place : unsigned { Nowhere = 1, Task = 2, FileTask = 4, Result = 8, FileResult = 16 };

    void learn(const std::string& line);
    void move(const std::string& id, unsigned from, unsigned to, bool done);
    std::map<std::string, unsigned> look();
    void compare(const std::map<std::string, unsigned>& found);
    void compareMessages(const std::map<std::string, unsigned>& found);

    std::map<std::string, unsigned> m_places;  // of each id ever named
    std::map<std::string, bool> m_messages;    // of each submitted message, whether that was acknowledged
    std::vector<std::string> m_batch;          // the ids of the operation that the kill cut off
};

}  // namespace vlox_test

#endif
