#ifndef VLOXLIB_DATABASE_SQLITE3MUTEX_H
#define VLOXLIB_DATABASE_SQLITE3MUTEX_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>

struct sqlite3_mutex;

namespace vloxlib {

/// @brief A mutex of SQLite's own.
///
/// Errors: where none could be allocated, the object locks nothing and all its operations report success.
class VLOX_API Sqlite3Mutex : public Noncopyable {
public:
    /// @param kind SQLITE_MUTEX_FAST (0), or SQLITE_MUTEX_RECURSIVE (1), which re-enters on its owning thread
    explicit Sqlite3Mutex(int kind = 0);
    ~Sqlite3Mutex() override;

    int lock() const;     ///< @return 0
    int tryLock() const;  ///< @return 0 when taken, otherwise SQLITE_BUSY
    int unlock() const;   ///< @return 0

private:
    sqlite3_mutex* m_mutex;
};

/// @brief Holds a Sqlite3Mutex for the length of a scope. The mutex has to outlive the guard.
class VLOX_API Sqlite3Guard {
public:
    explicit Sqlite3Guard(const Sqlite3Mutex& mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~Sqlite3Guard() { m_mutex.unlock(); }
    Sqlite3Guard(const Sqlite3Guard&) = delete;
    Sqlite3Guard& operator=(const Sqlite3Guard&) = delete;

private:
    const Sqlite3Mutex& m_mutex;
};

}  // namespace vloxlib

#endif
