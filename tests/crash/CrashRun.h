#ifndef TESTS_CRASH_CRASHRUN_H
#define TESTS_CRASH_CRASHRUN_H

#include <map>
#include <random>
#include <string>
#include <vector>

namespace vlox_test {

/// Kills a program that works a store, again and again, and holds the file against what was acknowledged.
///
/// The model keeps for each id the places in which it may be: an acknowledged operation leaves one, one that
/// the kill cut off leaves the place before and the place behind.
class CrashRun {
public:
    CrashRun(std::string directory, unsigned seed);

    /// One life of the program, from its start to its kill, and the look at the file behind it.
    void killOnce();
    /// The same over a fresh file of the older layout, killed while it is rewritten.
    void killMigration(const std::string& directory);

    long kills() const { return m_kills; }
    long operations() const { return m_operations; }
    /// What was found wrong, a line each; empty when nothing was lost or doubled.
    const std::vector<std::string>& losses() const { return m_losses; }

private:
    enum Place : unsigned { Nowhere = 1, Task = 2, FileTask = 4, Result = 8, FileResult = 16 };

    std::vector<std::string> liveAndDie(const std::string& directory, const std::string& generation,
                                        std::size_t atLeastLines);
    void learn(const std::string& line);
    void move(const std::string& id, unsigned from, unsigned to, bool done);
    std::map<std::string, unsigned> look(const std::string& directory);
    void compare(const std::map<std::string, unsigned>& found);
    void compareMessages(const std::map<std::string, unsigned>& found);
    void lose(const std::string& what);

    const std::string m_directory;
    std::mt19937 m_random;
    std::map<std::string, unsigned> m_places;  // of each id ever named
    std::map<std::string, bool> m_messages;    // of each submitted message, whether that was acknowledged
    std::vector<std::string> m_batch;          // the ids of the operation that the kill cut off
    long m_kills = 0;
    long m_operations = 0;
    std::vector<std::string> m_losses;
};

}  // namespace vlox_test

#endif
