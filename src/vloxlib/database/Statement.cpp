#include "vloxlib/database/Statement.h"

namespace vloxlib {

int Sqlite3Functions::StatementCache::prepare(const char* sql, sqlite3_stmt*& statement) {
    const auto known = m_prepared.find(sql);
    if (known != m_prepared.end()) {
        statement = known->second.get();
        return SQLITE_OK;
    }
    const int rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (rc == SQLITE_OK) {
        m_prepared.emplace(sql, SqliteStatement(statement));
    }
    return rc;
}

Sqlite3Functions::Statement::Statement(Sqlite3Functions& store, const char* method, const char* sql,
                                       const char* id)
    : m_store(store),
      m_method(method),
      m_id(id),
      m_prepared(store.m_statements->prepare(sql, m_statement)),
      m_use(m_statement) {
    if (m_prepared != SQLITE_OK) {
        logFailure();
    }
}

int Sqlite3Functions::Statement::run() {
    const int rc = fetch();
    m_use.reset();
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

int Sqlite3Functions::Statement::fetch() {
    if (m_prepared != SQLITE_OK) {
        return m_prepared;
    }
    const int rc = m_use.step();
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        logFailure();
    }
    return rc;
}

void Sqlite3Functions::Statement::logFailure() const {
    if (m_method != nullptr) {
        m_store.logFailure(m_method, m_id);
    }
}

Sqlite3Functions::Transaction::Transaction(Sqlite3Functions& store, bool own) : m_store(store), m_open(own) {
    if (own) {
        m_store.sqlite3_begin_transaction();
    }
}

Sqlite3Functions::Transaction::~Transaction() {
    if (m_open) {
        m_store.sqlite3_rollback_transaction();
    }
}

int Sqlite3Functions::Transaction::commit() {
    if (m_open) {
        m_open = false;
        m_store.sqlite3_commit_transaction();
    }
    return SQLITE_OK;
}

void readText(sqlite3_stmt* statement, int column, std::string& text) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    if (bytes != nullptr) {
        text.assign(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
}

}  // namespace vloxlib
