#include "vloxlib/database/Sqlite3Mutex.h"

#include <sqlite3.h>

namespace vloxlib {

// SQLite's mutex functions take a null mutex and do nothing with it.
Sqlite3Mutex::Sqlite3Mutex(int kind) : m_mutex(sqlite3_mutex_alloc(kind)) {}

Sqlite3Mutex::~Sqlite3Mutex() { sqlite3_mutex_free(m_mutex); }

int Sqlite3Mutex::lock() const {
    sqlite3_mutex_enter(m_mutex);
    return SQLITE_OK;
}

int Sqlite3Mutex::tryLock() const { return sqlite3_mutex_try(m_mutex); }

int Sqlite3Mutex::unlock() const {
    sqlite3_mutex_leave(m_mutex);
    return SQLITE_OK;
}

}  // namespace vloxlib
