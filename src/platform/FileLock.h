#ifndef PLATFORM_FILELOCK_H
#define PLATFORM_FILELOCK_H

#include <cstdint>
#include <string>

namespace vloxlib::platform {

/// @brief One byte of a file, locked: who else asks for it, in this process or another, is told at once that
/// it is taken.
///
/// The byte lies where SQLite keeps its own locks, which no database ever reads or writes. The lock lasts as
/// long as the object, at most as long as the process; the child of a fork has no part in it.
class FileLock {
public:
    enum Outcome {
        LOCKED,
        TAKEN,       ///< somebody else has it
        UNAVAILABLE  ///< the file can't be opened for writing, or its file system knows no locks
    };

    FileLock() = default;
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// @brief Locks the file with this UTF-8 path; once per object. Makes an empty one, for its owner's eyes
    /// only, where there is none.
    Outcome take(const std::string& path);

private:
    static constexpr std::int64_t kOffset = 0x40000200;  // right behind the bytes that SQLite locks
    std::intptr_t m_file = -1;                           // the system's handle
};

}  // namespace vloxlib::platform

#endif
