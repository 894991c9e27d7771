#include "vloxlib/database/StoreConnection.h"

#include <atomic>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

// Never given twice, unlike the system's names for threads.
std::uint64_t threadNumber() {
    static std::atomic<std::uint64_t> last{0};
    thread_local const std::uint64_t number = ++last;
    return number;
}

const char* text(const char* nullable) { return nullable != nullptr ? nullable : ""; }

}  // namespace

int StoreConnection::open(const char* path) {
    sqlite3* opened = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    const int rc = sqlite3_open_v2(path, &opened, flags, nullptr);
    m_db.reset(opened);
    return rc;
}

int StoreConnection::prepare(const char* sql, sqlite3_stmt*& statement) {
    const auto known = m_prepared.find(text(sql));
    if (known != m_prepared.end()) {
        statement = known->second.get();
        return SQLITE_OK;
    }
    const int rc = sqlite3_prepare_v3(handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (statement != nullptr) {
        m_prepared.emplace(sqlite3_sql(statement), SqliteStatement(statement));
    }
    return rc;
}

int StoreConnection::exec(const char* sql, std::string& failure) const {
    char* message = nullptr;
    const int rc = sqlite3_exec(handle(), sql, nullptr, nullptr, &message);
    failure = text(message);
    sqlite3_free(message);
    return rc;
}

int StoreConnection::execLogged(const char* sql, const char* failureText) const {
    std::string failure;
    const int rc = exec(sql, failure);
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "%s rc=%d,errmsg=%s", failureText, rc, failure.c_str());
    }
    return rc;
}

void StoreConnection::logFailure(const char* method, const char* id) const {
    VLOX_LOG(3, "sqlite3 error. method=%s,id=%s,errcode=%d,errmsg=%s", text(method), text(id),
             sqlite3_errcode(handle()), errorText());
}

int StoreConnection::begin() {
    const int rc = execLogged("BEGIN;", "sqlite3_begin_transaction failed.");
    if (rc == SQLITE_OK) {
        m_begun = true;
        m_failure = SQLITE_OK;
    }
    return rc;
}

int StoreConnection::commit() {
    const bool something = m_begun || sqlite3_get_autocommit(handle()) == 0;
    const int before = lost();
    const int rc = execLogged("COMMIT;", "sqlite3_commit_transaction failed.");
    const int reason = before != SQLITE_OK ? before : rc;
    if (something && rc != SQLITE_OK) {
        VLOX_LOG(5, "commit failed, nothing of the transaction is stored. rc=%d,errmsg=%s", reason,
                 before != SQLITE_OK ? sqlite3_errstr(before) : errorText());
    }
    noteCommit(reason);
    m_begun = sqlite3_get_autocommit(handle()) == 0;
    return rc;
}

int StoreConnection::rollback() {
    const int rc = execLogged("ROLLBACK;", "sqlite3_rollback_transaction failed.");
    m_begun = sqlite3_get_autocommit(handle()) == 0;
    return rc;
}

int StoreConnection::lost() const {
    if (!m_begun || sqlite3_get_autocommit(handle()) == 0) {
        return SQLITE_OK;
    }
    return m_failure != SQLITE_OK ? m_failure : SQLITE_ABORT;
}

void StoreConnection::noteOutcome(int code, bool changes) {
    if (m_begun) {
        m_failure = code != SQLITE_OK ? code : m_failure;
    } else if (changes && sqlite3_get_autocommit(handle()) != 0) {
        noteCommit(code);
    }
}

void StoreConnection::noteCommit(int code) {
    if (code != SQLITE_OK) {
        m_failed[threadNumber()] = code;
    } else if (!m_failed.empty()) {
        m_failed.erase(threadNumber());
    }
}

int StoreConnection::lastCommitCode() const {
    const auto failed = m_failed.find(threadNumber());
    return failed != m_failed.end() ? failed->second : SQLITE_OK;
}

}  // namespace vloxlib
