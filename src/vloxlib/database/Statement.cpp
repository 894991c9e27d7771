#include "vloxlib/database/Statement.h"

namespace vloxlib {

Statement::Statement(StoreConnection& connection, const char* method, const char* sql, const char* id)
    : m_connection(connection),
      m_method(method),
      m_id(id),
      m_prepared(connection.prepare(sql, m_statement)),
      m_use(m_statement) {
    if (m_prepared != SQLITE_OK && m_method != nullptr) {
        m_connection.logFailure(m_method, m_id);
    }
}

int Statement::run() {
    if (const int rc = m_connection.lost(); rc != SQLITE_OK) {
        return rc;
    }
    const int rc = step(true);
    m_use.reset();
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

int Statement::fetch() { return step(false); }

int Statement::step(bool changes) {
    if (m_prepared != SQLITE_OK) {
        return m_prepared;
    }
    const int rc = m_use.step();
    const bool succeeded = rc == SQLITE_ROW || rc == SQLITE_DONE;
    if (!succeeded && m_method != nullptr) {
        m_connection.logFailure(m_method, m_id);
    }
    m_connection.noteOutcome(succeeded ? SQLITE_OK : rc, changes);
    return rc;
}

Transaction::Transaction(StoreConnection& connection, bool own)
    : m_connection(connection), m_began(own && connection.begin() == SQLITE_OK), m_open(own) {}

Transaction::~Transaction() {
    if (m_open) {
        m_connection.rollback();
    }
}

int Transaction::commit() {
    if (!m_open) {
        return SQLITE_OK;
    }
    const int rc = m_connection.commit();
    // One that failed for the moment only would be committed by whoever comes next.
    m_open = rc != SQLITE_OK && sqlite3_get_autocommit(m_connection.handle()) == 0;
    return rc;
}

int Transaction::commitAndReportSuccess() {
    static_cast<void>(commit());
    return SQLITE_OK;
}

void Transaction::leaveOpen() {
    if (m_began) {
        m_connection.abandon();
    }
    m_open = false;
}

void readText(sqlite3_stmt* statement, int column, std::string& text) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    if (bytes != nullptr) {
        text.assign(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
}

}  // namespace vloxlib
