#include "vloxlib/database/Sqlite3Functions.h"

#include "vloxlib/database/Schema.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/thread/ProcessEnding.h"

namespace vloxlib {

namespace {

// The file can't be a store; the log says why.
struct Unusable {};

// How long a program that reads the file may hold up its opening.
constexpr int kOpenMilliseconds = 1000;

std::string filePath(const char* dir, const std::string& name) {
    return std::string(dir != nullptr ? dir : "") + "/" + name + ".db";
}

void logCreateFailure(const std::string& table, const char* why) {
    VLOX_LOG(4, "create table %s failed for %s", table.c_str(), why);
}

}  // namespace

// On the heap for good: threads that still run at the process's end may hold or wait for them.
std::map<std::string, Sqlite3Functions*>& Sqlite3Functions::instances =
    *new std::map<std::string, Sqlite3Functions*>;
WindowsMutex& Sqlite3Functions::m_mutex = *new WindowsMutex;

Sqlite3Functions* Sqlite3Functions::getSqliteInstance(const char* dir, const std::string& name) {
    const std::string path = filePath(dir, name);
    try {
        WindowsMutexGuard lock(m_mutex);
        const auto known = instances.find(path);
        if (known != instances.end()) {
            return known->second;
        }
        std::unique_ptr<Sqlite3Functions> store(new Sqlite3Functions(path.c_str()));
        instances.emplace(path, store.get());
        return store.release();
    } catch (const Unusable&) {
        endProcess(1);  // here, where the registry's lock is given back
    }
}

void Sqlite3Functions::releaseSqliteInstance(const char* dir, const std::string& name) {
    WindowsMutexGuard lock(m_mutex);
    const auto known = instances.find(filePath(dir, name));
    if (known != instances.end()) {
        const std::unique_ptr<Sqlite3Functions> store(known->second);
        instances.erase(known);
    }
}

Sqlite3Functions::Sqlite3Functions(const char* path)
    : m_connection(std::make_unique<StoreConnection>()), m_lock(SQLITE_MUTEX_RECURSIVE) {
    VLOX_LOG(2, "sqlite3 lib info. version=%s,sourceid=%s,version_number=%d,threadsafe=%d,path=%s",
             sqlite3_libversion(), sqlite3_sourceid(), sqlite3_libversion_number(), sqlite3_threadsafe(),
             path);
    openFile(path);
    lockFile();
    migrate();
}

Sqlite3Functions::~Sqlite3Functions() { VLOX_LOG(0, "call"); }

void Sqlite3Functions::openFile(const char* path) {
    const bool mine = m_connection->reserve(path);
    const int rc = m_connection->open(path);
    if (rc != SQLITE_OK) {
        VLOX_LOG(4, "open sqlite file(%s) failed. ret=%d", path, rc);
        throw Unusable();
    }
    if (!mine) {
        logCreateFailure(kFirstTable, sqlite3_errstr(SQLITE_BUSY));
        throw Unusable();
    }
}

// The log shrinks to its limit with the next commit after a checkpoint; without one it stays as large as the
// largest burst made it. The exclusive mode takes its lock with the first write only, which may be long after
// the start: the empty transaction takes it now.
void Sqlite3Functions::lockFile() {
    sqlite3_busy_timeout(m_connection->handle(), kOpenMilliseconds);
    int rc = SQLITE_OK;
    for (const char* sql :
         {"PRAGMA synchronous = FULL; ", "PRAGMA journal_mode = WAL; ", "PRAGMA locking_mode = EXCLUSIVE; ",
          "PRAGMA journal_size_limit = 4194304; ", "BEGIN EXCLUSIVE; COMMIT;"}) {
        rc = sqlite3_exec(m_connection->handle(), sql, nullptr, nullptr, nullptr);
    }
    if (rc == SQLITE_BUSY) {
        logCreateFailure(kFirstTable, m_connection->errorText());
        throw Unusable();
    }
    sqlite3_busy_timeout(m_connection->handle(), 0);
}

// Tables, columns, rewritten rows and their mark come in one transaction, so that no start finds half of
// them.
void Sqlite3Functions::migrate() {
    Transaction transaction(*m_connection);
    if (!createTables()) {
        throw Unusable();
    }
    alterReceiveMsgIdTable();
    if (isNeedUpdateFileTable()) {
        updateFileTable();
        setKeyAndValue(kVersionKey, kVersion);
    }
    // Without the rewritten rows the store can be used, without its tables not.
    if (transaction.commit() != SQLITE_OK && !createTables()) {
        throw Unusable();
    }
}

void Sqlite3Functions::doCreateTable() {
    if (!createTables()) {
        endProcess(1);
    }
}

bool Sqlite3Functions::createTables() {
    std::map<std::string, std::string> statements;
    getCreateTableSql(statements);
    Sqlite3Guard lock(m_lock);
    for (const auto& [table, sql] : statements) {
        std::string failure;
        if (m_connection->exec(sql.c_str(), failure) != SQLITE_OK) {
            logCreateFailure(table, failure.c_str());
            return false;
        }
    }
    return true;
}

void Sqlite3Functions::getCreateTableSql(std::map<std::string, std::string>& statements) {
    for (const TableDefinition& table : storeTables) {
        statements[table.name] = table.createSql;
    }
}

int Sqlite3Functions::sqlite3_begin_transaction() {
    Sqlite3Guard lock(m_lock);
    return m_connection->begin();
}

int Sqlite3Functions::sqlite3_commit_transaction() {
    Sqlite3Guard lock(m_lock);
    return m_connection->commit();
}

int Sqlite3Functions::sqlite3_rollback_transaction() {
    Sqlite3Guard lock(m_lock);
    return m_connection->rollback();
}

int Sqlite3Functions::getLastCommitCode() const {
    Sqlite3Guard lock(m_lock);
    return m_connection->lastCommitCode();
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
    m_connection->logFailure(method, id);
}

int Sqlite3Functions::getValueByKey(const std::string& key, std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getValueByKey", "SELECT value FROM table_key_value WHERE key=?;",
                        key.c_str());
    statement.bind(key);
    return statement.fetchOne([&](sqlite3_stmt* row) { readText(row, 0, value); });
}

int Sqlite3Functions::setKeyAndValue(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "setKeyAndValue",
                        "INSERT INTO table_key_value (key,value) VALUES (?,?);", key.c_str());
    statement.bind(key, value);
    return statement.run();
}

int Sqlite3Functions::updateValueByKey(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "updateValueByKey", "UPDATE table_key_value SET value=? WHERE key=?;",
                        key.c_str());
    statement.bind(value, key);
    return statement.run();
}

int Sqlite3Functions::replaceValueByKey(const std::string& key, const std::string& value) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "replaceValueByKey",
                        "REPLACE INTO table_key_value (key, value) VALUES(?, ?);", key.c_str());
    statement.bind(key, value);
    return statement.run();
}

int Sqlite3Functions::deleteValueByKey(const std::string& key) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteValueByKey", "DELETE FROM table_key_value WHERE key=?;",
                        key.c_str());
    statement.bind(key);
    return statement.run();
}

}  // namespace vloxlib
