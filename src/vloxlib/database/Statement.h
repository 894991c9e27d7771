#ifndef VLOXLIB_DATABASE_STATEMENT_H
#define VLOXLIB_DATABASE_STATEMENT_H

#include <string>
#include <utility>

#include "vloxlib/Noncopyable.h"
#include "vloxlib/database/StoreConnection.h"
#include "vloxlib/utility/SqliteHandles.h"

namespace vloxlib {

// One use of a cached statement: prepare, bind, step; it goes back reset and without bindings.
// Thread safety: none; the store's lock is held from construction to destruction. Not for two uses of one
// text at a time. Errors: SQLite's codes are returned and logged here, with the method's name and the row's
// id, unless the method is null. After a failed prepare or bind each step returns that code.
class Statement : public Noncopyable {
public:
    Statement(StoreConnection& connection, const char* method, const char* sql, const char* id = "");

    int prepared() const { return m_prepared; }

    // All parameters in their order. Text is not copied: it has to stay alive and unchanged until the step.
    template <class... Values>
    void bind(Values&&... values) {
        m_use.bind(std::forward<Values>(values)...);
    }

    // A change: 0 when it is done. It can be bound and run again, after a failure too. In a transaction that
    // SQLite has rolled back it isn't run; the code is then that of the rollback.
    int run();
    // Binds and runs once for each row, in their order. The first failure ends it and is returned.
    template <class Rows, class BindRow>
    int runForEach(const Rows& rows, BindRow bindRow) {
        return runForEach(rows, bindRow, [](const auto&) { return false; });
    }
    // The same, but passes over the rows for whose failure `bears` gives true.
    template <class Rows, class BindRow, class Bears>
    int runForEach(const Rows& rows, BindRow bindRow, Bears bears) {
        for (const auto& row : rows) {
            bindRow(row);
            const int rc = run();
            if (rc != SQLITE_OK && (!bears(row) || m_connection.lost() != SQLITE_OK)) {
                return rc;
            }
        }
        return SQLITE_OK;
    }

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
    int step(bool changes);

    StoreConnection& m_connection;
    const char* m_method;
    const char* m_id;
    sqlite3_stmt* m_statement = nullptr;  // the cache's; null after a failed prepare
    int m_prepared;                       // stays below m_statement: its initialiser writes it
    SqliteUse m_use;
};

// BEGIN now; ROLLBACK at the end of the scope unless committed. A failing BEGIN is logged and the work goes
// on.
class Transaction : public Noncopyable {
public:
    // own false: the caller is in a transaction, and nothing is done here.
    explicit Transaction(StoreConnection& connection, bool own = true);
    ~Transaction() override;

    // SQLite's code of the COMMIT. Other than 0, nothing of the transaction is stored.
    [[nodiscard]] int commit();
    // For operations whose contract doesn't tell callers what came of their COMMIT: always 0. The log tells,
    // and Sqlite3Functions::getLastCommitCode().
    int commitAndReportSuccess();
    void leaveOpen();

private:
    StoreConnection& m_connection;
    bool m_began;  // not so inside a transaction of the caller's
    bool m_open;
};

// A NULL leaves the text as it was.
void readText(sqlite3_stmt* statement, int column, std::string& text);

}  // namespace vloxlib

#endif
