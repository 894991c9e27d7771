#ifndef TESTS_SUPPORT_FAULTYVFS_H
#define TESTS_SUPPORT_FAULTYVFS_H

#include <sqlite3.h>

namespace vlox_test {

/// A disk that fails on demand: SQLite's own file system with the writes and syncs of all database files
/// opened from its construction on going through it, until it is destroyed. Close those files before.
/// Threads: the one that uses the files. One at a time.
class FaultyVfs {
public:
    enum Fault {
        DISK_FULL,    ///< writes fail with SQLITE_FULL
        WRITE_ERROR,  ///< writes fail with SQLITE_IOERR_WRITE
        SYNC_ERROR,   ///< syncs fail with SQLITE_IOERR_FSYNC
        FILE_LIMIT    ///< writes beyond so many pages of a file fail with SQLITE_FULL, others go on
    };
    static constexpr long long kPage = 4096;

    FaultyVfs();
    ~FaultyVfs();
    FaultyVfs(const FaultyVfs&) = delete;
    FaultyVfs& operator=(const FaultyVfs&) = delete;

    /// From now on the calls of that kind fail, after so many more that succeed; or behind so many pages.
    void fail(Fault fault, int after);
    /// The fault is gone. @return whether a call has failed
    bool heal();

private:
    sqlite3_vfs m_vfs;
};

}  // namespace vlox_test

#endif
