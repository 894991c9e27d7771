#include "vloxlib/database/Sqlite3Functions.h"

#include <sqlite3.h>

#include <cstdlib>

#include "platform/FileOpen.h"
#include "vloxlib/database/Schema.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

std::string filePath(const char* dir, const std::string& name) {
    return std::string(dir != nullptr ? dir : "") + "/" + name + ".db";
}

struct FreeMessage {
    void operator()(char* message) const { sqlite3_free(message); }
};
using Message = std::unique_ptr<char, FreeMessage>;

int exec(sqlite3* db, const char* sql, Message& failure) {
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    failure.reset(message);
    return rc;
}

const char* text(const Message& message) { return message ? message.get() : ""; }
const char* text(const char* nullable) { return nullable != nullptr ? nullable : ""; }

}  // namespace

// On the heap for good: threads that still run at the process's end may hold or wait for them.
std::map<std::string, Sqlite3Functions*>& Sqlite3Functions::instances =
    *new std::map<std::string, Sqlite3Functions*>;
WindowsMutex& Sqlite3Functions::m_mutex = *new WindowsMutex;

Sqlite3Functions* Sqlite3Functions::getSqliteInstance(const char* dir, const std::string& name) {
    const std::string path = filePath(dir, name);
    WindowsMutexGuard lock(m_mutex);
    const auto known = instances.find(path);
    if (known != instances.end()) {
        return known->second;
    }
    std::unique_ptr<Sqlite3Functions> store(new Sqlite3Functions(path.c_str()));
    instances.emplace(path, store.get());
    return store.release();
}

void Sqlite3Functions::releaseSqliteInstance(const char* dir, const std::string& name) {
    WindowsMutexGuard lock(m_mutex);
    const auto known = instances.find(filePath(dir, name));
    if (known != instances.end()) {
        const std::unique_ptr<Sqlite3Functions> store(known->second);
        instances.erase(known);
    }
}

Sqlite3Functions::Sqlite3Functions(const char* path) : m_lock(SQLITE_MUTEX_RECURSIVE) {
    VLOX_LOG(2, "sqlite3 lib info. version=%s,sourceid=%s,version_number=%d,threadsafe=%d,path=%s",
             sqlite3_libversion(), sqlite3_sourceid(), sqlite3_libversion_number(), sqlite3_threadsafe(),
             path);
    openFile(path);
    doCreateTable();
    alterReceiveMsgIdTable();
    if (isNeedUpdateFileTable()) {
        updateFileTable();
        setKeyAndValue(kVersionKey, kVersion);
    }
}

Sqlite3Functions::~Sqlite3Functions() {
    VLOX_LOG(0, "call");
    m_statements.reset();
    sqlite3_close(m_db);
}

void Sqlite3Functions::openFile(const char* path) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    platform::makePrivateFile(path);  // the files that SQLite puts beside it get the same rights
    const int rc = sqlite3_open_v2(path, &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        VLOX_LOG(4, "open sqlite file(%s) failed. ret=%d", path, rc);
        std::exit(1);
    }
    m_statements = std::make_unique<StatementCache>(m_db);
    // The exclusive mode takes its lock with the first write only, which may be long after the start: the
    // empty transaction takes it now.
    for (const char* sql : {"PRAGMA synchronous = FULL; ", "PRAGMA journal_mode = WAL; ",
                            "PRAGMA locking_mode = EXCLUSIVE; ", "BEGIN IMMEDIATE; COMMIT;"}) {
        sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    }
}

void Sqlite3Functions::doCreateTable() {
    std::map<std::string, std::string> statements;
    getCreateTableSql(statements);
    Sqlite3Guard lock(m_lock);
    for (const auto& [table, sql] : statements) {
        Message failure;
        if (exec(m_db, sql.c_str(), failure) != SQLITE_OK) {
            VLOX_LOG(4, "create table %s failed for %s", table.c_str(), text(failure));
            failure.reset();  // exit() runs no destructors here
            std::exit(1);
        }
    }
}

void Sqlite3Functions::getCreateTableSql(std::map<std::string, std::string>& statements) {
    for (const TableDefinition& table : storeTables) {
        statements[table.name] = table.createSql;
    }
}

int Sqlite3Functions::execLogged(const char* sql, const char* failureText) const {
    Message failure;
    const int rc = exec(m_db, sql, failure);
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "%s rc=%d,errmsg=%s", failureText, rc, text(failure));
    }
    return rc;
}

int Sqlite3Functions::sqlite3_begin_transaction() {
    return execLogged("BEGIN;", "sqlite3_begin_transaction failed.");
}

int Sqlite3Functions::sqlite3_commit_transaction() {
    return execLogged("COMMIT;", "sqlite3_commit_transaction failed.");
}

int Sqlite3Functions::sqlite3_rollback_transaction() {
    return execLogged("ROLLBACK;", "sqlite3_rollback_transaction failed.");
}

int Sqlite3Functions::doSqlite3Prepare(sqlite3* db, const char* sql, int nbyte, sqlite3_stmt** statement,
                                       const char** tail) {
    return sqlite3_prepare_v2(db, sql, nbyte, statement, tail);
}

int Sqlite3Functions::doSqlite3Step(sqlite3_stmt* statement) { return sqlite3_step(statement); }

int Sqlite3Functions::doSqlite3Finalize(sqlite3_stmt* statement) { return sqlite3_finalize(statement); }

int Sqlite3Functions::preprocessPrepare(sqlite3_stmt* statement, const char* id, const char* method, int rc) {
    if (rc != SQLITE_OK) {
        logFailure(method, id);
        sqlite3_finalize(statement);
    }
    return rc;
}

int Sqlite3Functions::preprocessNoSelect(sqlite3_stmt* statement, const char* id, const char* method,
                                         int rc) {
    if (rc != SQLITE_DONE) {
        logFailure(method, id);
        sqlite3_finalize(statement);
    }
    return rc;
}

int Sqlite3Functions::preprocessSelect(sqlite3_stmt* statement, const char* id, const char* method, int rc) {
    if (rc != SQLITE_ROW) {
        if (rc != SQLITE_DONE) {
            logFailure(method, id);
        }
        sqlite3_finalize(statement);
    }
    return rc;
}

void Sqlite3Functions::logFailure(const char* method, const char* id) const {
    Sqlite3Guard lock(m_lock);
    VLOX_LOG(3, "sqlite3 error. method=%s,id=%s,errcode=%d,errmsg=%s", text(method), text(id),
             sqlite3_errcode(m_db), sqlite3_errmsg(m_db));
}

int Sqlite3Functions::getValueByKey(const std::string& key, std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*this, "getValueByKey", "SELECT value FROM table_key_value WHERE key=?;",
                        key.c_str());
    statement.bind(key);
    return statement.fetchOne([&](sqlite3_stmt* row) { readText(row, 0, value); });
}

int Sqlite3Functions::setKeyAndValue(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*this, "setKeyAndValue", "INSERT INTO table_key_value (key,value) VALUES (?,?);",
                        key.c_str());
    statement.bind(key, value);
    return statement.run();
}

int Sqlite3Functions::updateValueByKey(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*this, "updateValueByKey", "UPDATE table_key_value SET value=? WHERE key=?;",
                        key.c_str());
    statement.bind(value, key);
    return statement.run();
}

int Sqlite3Functions::replaceValueByKey(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*this, "replaceValueByKey", "REPLACE INTO table_key_value (key, value) VALUES(?, ?);",
                        key.c_str());
    statement.bind(key, value);
    return statement.run();
}

int Sqlite3Functions::deleteValueByKey(const std::string& key) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*this, "deleteValueByKey", "DELETE FROM table_key_value WHERE key=?;", key.c_str());
    statement.bind(key);
    return statement.run();
}

}  // namespace vloxlib
