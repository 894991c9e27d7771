#ifndef VLOXLIB_UTILITY_SQLITEHANDLES_H
#define VLOXLIB_UTILITY_SQLITEHANDLES_H

#include <sqlite3.h>

#include <memory>
#include <string>
#include <type_traits>

namespace vloxlib {

struct SqliteRelease {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

using SqliteConnection = std::unique_ptr<sqlite3, SqliteRelease>;
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteRelease>;

/// @brief Whether a transaction is open. SQLite ends one by itself, rolled back, after a full disk or an
/// error of the disk; what follows would then be committed statement by statement. False without a
/// connection.
inline bool isInTransaction(sqlite3* connection) {
    return connection != nullptr && sqlite3_get_autocommit(connection) == 0;
}

/// @brief One use of a prepared statement, which goes back reset and without bindings.
///
/// Borrows the statement; null is allowed, and each step is then SQLite's misuse code. Not for two uses of
/// one statement at a time. Threads: none, the connection's lock is held. Errors: SQLite's codes, nothing is
/// logged.
class SqliteUse {
public:
    explicit SqliteUse(sqlite3_stmt* statement) : m_statement(statement) {}
    ~SqliteUse() {
        sqlite3_reset(m_statement);
        if (m_statement != nullptr) {
            sqlite3_clear_bindings(m_statement);
        }
    }
    SqliteUse(const SqliteUse&) = delete;
    SqliteUse& operator=(const SqliteUse&) = delete;

    bool isPrepared() const { return m_statement != nullptr; }

    /// Binds all parameters in their order. Texts are not copied: they have to stay unchanged until the last
    /// step.
    template <class... Values>
    void bind(Values&&... values) {
        static_assert((!std::is_same_v<Values, std::string> && ...), "a temporary would be gone by the step");
        m_bound = SQLITE_OK;
        int index = 0;
        (bindOne(++index, values), ...);
    }

    [[nodiscard]] int step() { return m_bound == SQLITE_OK ? sqlite3_step(m_statement) : m_bound; }
    void reset() { sqlite3_reset(m_statement); }  ///< Ready to be bound and stepped again.

    int integer(int column) const { return sqlite3_column_int(m_statement, column); }
    long long longInteger(int column) const { return sqlite3_column_int64(m_statement, column); }
    /// A NULL reads as the empty text.
    std::string text(int column) const {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
        return bytes == nullptr ? std::string() : std::string(bytes, size);
    }

private:
    void bindOne(int index, long long value) { keep(sqlite3_bind_int64(m_statement, index, value)); }
    void bindOne(int index, const char* text) {
        keep(sqlite3_bind_text(m_statement, index, text, -1, SQLITE_STATIC));
    }
    void bindOne(int index, const std::string& text) {
        keep(sqlite3_bind_text64(m_statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
    }
    void keep(int code) { m_bound = m_bound == SQLITE_OK ? code : m_bound; }

    sqlite3_stmt* m_statement;
    int m_bound = SQLITE_OK;  // the first failure of a bind
};

}  // namespace vloxlib

#endif
