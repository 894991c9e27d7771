#ifndef VLOXLIB_DATABASE_STORECONNECTION_H
#define VLOXLIB_DATABASE_STORECONNECTION_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/FileLock.h"
#include "vloxlib/Noncopyable.h"
#include "vloxlib/utility/SqliteHandles.h"

namespace vloxlib {

// The connection of a store, with its prepared statements and its transaction.
//
// SQLite may end a transaction by itself, on a full disk for instance. What runs then would commit itself,
// one statement after the other: from there to the transaction's end all changes are refused instead.
// Threads: none; the store's lock is held. Errors: SQLite's codes, logged here.
class StoreConnection : public Noncopyable {
public:
    // Keeps other processes out of the file, and other stores of this one, as long as the connection lives.
    // Returns false when one of them has it; where the system has no such locks, SQLite's alone have to do.
    bool reserve(const char* path) { return m_reservation.take(path) != platform::FileLock::TAKEN; }
    int open(const char* path);
    sqlite3* handle() const { return m_db.get(); }

    // Prepares a text at its first use and keeps it until the store closes; null is SQLite's to refuse.
    int prepare(const char* sql, sqlite3_stmt*& statement);
    int exec(const char* sql, std::string& failure) const;
    void logFailure(const char* method, const char* id) const;
    const char* errorText() const { return sqlite3_errmsg(handle()); }

    int begin();
    // Other than 0, nothing of the transaction is stored.
    int commit();
    int rollback();
    // The transaction is nobody's any more: it stays open until somebody's COMMIT or ROLLBACK.
    void abandon() { m_begun = false; }

    // Other than 0 from SQLite's own rollback of a transaction to that transaction's end: what it failed of.
    int lost() const;
    // What came of a statement of the transaction, or of one that commits itself.
    void noteOutcome(int code, bool changes);
    // Of the calling thread's last COMMIT, or change that committed itself.
    int lastCommitCode() const;

private:
    int execLogged(const char* sql, const char* failureText) const;
    void noteCommit(int code);

    platform::FileLock m_reservation;  // outlives the connection
    SqliteConnection m_db;
    std::unordered_map<std::string_view, SqliteStatement>
        m_prepared;  // by the text that each one keeps itself
    bool m_begun = false;
    int m_failure = SQLITE_OK;                        // the transaction's last one
    std::unordered_map<std::uint64_t, int> m_failed;  // threads whose last commit failed, with its code
};

}  // namespace vloxlib

#endif
