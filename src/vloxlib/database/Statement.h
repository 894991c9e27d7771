#ifndef VLOXLIB_DATABASE_STATEMENT_H
#define VLOXLIB_DATABASE_STATEMENT_H

#include <string>
#include <unordered_map>
#include <utility>

#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/utility/SqliteHandles.h"

namespace vloxlib {

// The prepared statements of one connection, each prepared at its first use and kept until the store closes.
// Thread safety: none; the store's lock is held. Ownership: owns the statements, borrows the connection.
class Sqlite3Functions::StatementCache {
public:
    explicit StatementCache(sqlite3* db) : m_db(db) {}

    // Keyed by the address of the text, which has to be a literal; null is SQLite's to refuse.
    int prepare(const char* sql, sqlite3_stmt*& statement);

private:
    sqlite3* m_db;
    std::unordered_map<const char*, SqliteStatement> m_prepared;
};

// One use of a cached statement: prepare, bind, step; it goes back reset and without bindings.
// Thread safety: none; the store's lock is held from construction to destruction. Not for two uses of one
// text at a time. Errors: SQLite's codes are returned and logged here, with the method's name and the row's
// id, unless the method is null. After a failed prepare or bind each step returns that code.
class Sqlite3Functions::Statement : public Noncopyable {
public:
    Statement(Sqlite3Functions& store, const char* method, const char* sql, const char* id = "");

    int prepared() const { return m_prepared; }

    // All parameters in their order. Text is not copied: it has to stay alive and unchanged until the step.
    template <class... Values>
    void bind(Values&&... values) {
        m_use.bind(std::forward<Values>(values)...);
    }

    // A statement without rows: 0 when it is done. It can be bound and run again, after a failure too.
    int run();
    // The next row of a select: 100, or 101 when there is none (more), or the code of the failure.
    int fetch();
    // Reads all rows of a select. 0, or 101 when there was none, or the code of the failure.
    template <class Read>
    int fetchAll(Read read) {
        int rc = fetch();
        if (rc != SQLITE_ROW) {
            return rc;
        }
        for (; rc == SQLITE_ROW; rc = fetch()) {
            read(m_statement);
        }
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    }
    // Reads the first row of a select. 0, or 101 when there is none, or the code of the failure.
    template <class Read>
    int fetchOne(Read read) {
        const int rc = fetch();
        if (rc != SQLITE_ROW) {
            return rc;
        }
        read(m_statement);
        return SQLITE_OK;
    }

private:
    void logFailure() const;

    Sqlite3Functions& m_store;
    const char* m_method;
    const char* m_id;
    sqlite3_stmt* m_statement = nullptr;  // the cache's; null after a failed prepare
    int m_prepared;                       // stays below m_statement: its initialiser writes it
    SqliteUse m_use;
};

// BEGIN now; ROLLBACK at the end of the scope unless committed. A failing BEGIN is logged and the work goes
// on.
class Sqlite3Functions::Transaction : public Noncopyable {
public:
    // own false: the caller is in a transaction, and nothing is done here.
    explicit Transaction(Sqlite3Functions& store, bool own = true);
    ~Transaction() override;

    // Always 0: the outcome of COMMIT is logged and, by the store's contract, not told to callers.
    int commit();
    void leaveOpen() { m_open = false; }

private:
    Sqlite3Functions& m_store;
    bool m_open;
};

// A NULL leaves the text as it was.
void readText(sqlite3_stmt* statement, int column, std::string& text);

}  // namespace vloxlib

#endif
