#ifndef TESTS_CRASH_CRASHRUN_H
#define TESTS_CRASH_CRASHRUN_H

#include <random>
#include <string>
#include <vector>

namespace vlox_test {

/// Kills a program at its work, again and again, and holds what it left behind against what it acknowledged.
class CrashRun {
public:
    virtual ~CrashRun() = default;
    CrashRun(const CrashRun&) = delete;
    CrashRun& operator=(const CrashRun&) = delete;

    /// One life of the program, from its start to its kill, and the look at what is left.
    virtual void killOnce() = 0;

    long kills() const { return m_kills; }
    long operations() const { return m_operations; }
    /// What was found wrong, a line each; empty when nothing was lost or doubled.
    const std::vector<std::string>& losses() const { return m_losses; }

protected:
    /// @param work which of the program's works, see CrashWorker.cpp
    CrashRun(std::string work, std::string directory, unsigned seed);

    /// Lets the program live until it has written so many lines, and a random moment longer.
    /// @return all lines that it wrote in full
    std::vector<std::string> liveAndDie(const std::string& directory, const std::string& generation,
                                        std::size_t atLeastLines);
    const std::string& directory() const { return m_directory; }
    std::string generation() const { return "g" + std::to_string(m_kills); }  ///< of the next life
    std::size_t random() { return m_random(); }
    void countOperation() { ++m_operations; }
    void countKill() { ++m_kills; }
    void lose(const std::string& what);

private:
    const std::string m_work;
    const std::string m_directory;
    std::mt19937 m_random;
    long m_kills = 0;
    long m_operations = 0;
    std::vector<std::string> m_losses;
};

}  // namespace vlox_test

#endif
