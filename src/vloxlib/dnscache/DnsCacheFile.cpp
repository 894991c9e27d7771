#include "vloxlib/dnscache/DnsCacheFile.h"

#include <utility>

#include "platform/FileOpen.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IpModel.h"

namespace vloxlib {

namespace {

constexpr int kBusyMilliseconds = 1000;

// With a write-ahead log a commit doesn't wait for the disk: the end of the process takes nothing away, the
// end of the machine at most the latest answers and counts, never the file. Where there can be no such log,
// the file is synced as ever.
void logAhead(sqlite3* connection) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(connection, "PRAGMA journal_mode=WAL;", -1, &statement, nullptr);
    const SqliteStatement owned(statement);
    SqliteUse mode(statement);
    if (mode.step() == SQLITE_ROW && mode.text(0) == "wal") {
        sqlite3_exec(connection, "PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
    }
}

constexpr const char* kTables[] = {
    "CREATE TABLE IF NOT EXISTS domain_t ("
    "'id' INTEGER PRIMARY KEY AUTOINCREMENT, "
    "'domain' TEXT NOT NULL, "
    "'sp' TEXT DEFAULT '', "
    "'expireTime' INTEGER DEFAULT 0, "
    "'finallyTime' INTEGER DEFAULT (strftime('%s', 'now')), "
    "UNIQUE(domain, sp))",
    "CREATE TABLE IF NOT EXISTS ip_t ("
    "'id' INTEGER PRIMARY KEY AUTOINCREMENT, "
    "'domain' TEXT NOT NULL, "
    "'ip' TEXT NOT NULL, "
    "'port' INTEGER, "
    "'sp' TEXT DEFAULT '', "
    "'expireTime' INTEGER, "
    "'priority' INTEGER, "
    "'roundtripTime' INTEGER, "
    "'successNum' INTEGER INTEGER DEFAULT 0, "
    "'errNum' INTEGER INTEGER DEFAULT 0, "
    "'finallySuccessTime' INTEGER, "
    "'finallyFailTime' INTEGER, "
    "'grade' INTEGER, "
    "UNIQUE(domain, ip, sp))",
};

constexpr const char* kInsertIp =
    "INSERT INTO ip_t (domain,ip,port,sp,expireTime,priority,roundtripTime,successNum,errNum,"
    "finallySuccessTime,finallyFailTime,grade) VALUES (?,?,?,?,?,?,?,?,?,?,?,?);";
constexpr const char* kUpdateIp =
    "UPDATE ip_t SET domain=?, ip=?, port=?, sp=?, "
    "expireTime=?,priority=?,roundtripTime=?,successNum=?,errNum=?,"
    "finallySuccessTime=?,finallyFailTime=?,grade=? WHERE id=?;";

std::shared_ptr<IpModel> ipModelOf(const SqliteUse& row) {
    auto model = std::make_shared<IpModel>();
    model->id = row.integer(0);
    model->domain = row.text(1);
    model->ip = row.text(2);
    model->port = row.integer(3);
    model->sp = row.text(4);
    model->expireTime = row.longInteger(5);
    model->priority = row.integer(6);
    model->roundtripTime = row.longInteger(7);
    model->successNum = row.longInteger(8);
    model->errNum = row.longInteger(9);
    model->finallySuccessTime = row.longInteger(10);
    model->finallyFailTime = row.longInteger(11);
    model->grade = row.integer(12);
    return model;
}

}  // namespace

const char* const DnsCacheFile::s_texts[TEXTS] = {
    "BEGIN;",
    "COMMIT;",
    "ROLLBACK;",
    "SELECT * FROM domain_t WHERE domain=? AND sp=? ",
    "SELECT * FROM ip_t WHERE domain=? AND sp=? ORDER BY finallySuccessTime, successNum DESC",
    "SELECT * FROM ip_t WHERE domain=? AND sp=? AND ip=?",
    "INSERT INTO domain_t (domain,sp,expireTime,finallyTime) VALUES (?,?,?,?);",
    kInsertIp,
    kUpdateIp,
    "DELETE FROM domain_t WHERE domain=?;",
    "DELETE FROM ip_t WHERE domain=?;",
    "DELETE FROM ip_t;",
    "DELETE FROM domain_t;",
};

bool DnsCacheFile::open(const std::string& path) {
    sqlite3* connection = nullptr;
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    platform::makePrivateFile(path);  // the journal gets the same rights
    const int code = sqlite3_open_v2(path.c_str(), &connection, kFlags, nullptr);
    SqliteConnection opened(connection);  // there is one to release even after a failure
    if (code == SQLITE_OK) {
        // Somebody who looks into the file must not make a write fail.
        sqlite3_busy_timeout(connection, kBusyMilliseconds);
        logAhead(connection);
        m_connection = std::move(opened);
    }
    return code == SQLITE_OK;
}

bool DnsCacheFile::createTables() {
    for (const char* table : kTables) {
        if (sqlite3_exec(m_connection.get(), table, nullptr, nullptr, nullptr) != SQLITE_OK) {
            return false;
        }
    }
    return true;
}

// Null for a statement that can't be prepared, or isn't to be run.
sqlite3_stmt* DnsCacheFile::prepared(Text text) {
    if (isRolledBack()) {
        return nullptr;
    }
    SqliteStatement& kept = m_statements[text];
    if (!kept) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v3(m_connection.get(), s_texts[text], -1, SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr);
        kept.reset(statement);
    }
    return kept.get();
}

int DnsCacheFile::begin() {
    m_begun = false;
    const int code = transact(BEGIN);
    m_begun = isInTransaction(m_connection.get());
    return code;
}

int DnsCacheFile::end(Text text) {
    m_begun = false;
    return transact(text);
}

int DnsCacheFile::run(Text text) { return SqliteUse(prepared(text)).step(); }

int DnsCacheFile::transact(Text text) {
    const int code = run(text);
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

bool DnsCacheFile::readDomain(const std::string& sp, const std::string& domain,
                              std::shared_ptr<DomainModel>& model) {
    SqliteUse row(prepared(READ_DOMAIN));
    if (!row.isPrepared()) {
        return false;
    }
    row.bind(domain, sp);
    if (row.step() == SQLITE_ROW) {
        model = std::make_shared<DomainModel>();
        model->domain = row.text(1);
        model->sp = row.text(2);
        model->expireTime = row.longInteger(3);
        model->finallyTime = row.longInteger(4);
    }
    return true;
}

bool DnsCacheFile::readIps(const std::string& ip, const std::string& sp, const std::string& domain,
                           std::list<std::shared_ptr<IpModel>>& list) {
    SqliteUse row(prepared(ip.empty() ? READ_IPS : READ_IP));
    if (!row.isPrepared()) {
        return false;
    }
    if (ip.empty()) {
        row.bind(domain, sp);
    } else {
        row.bind(domain, sp, ip);
    }
    while (row.step() == SQLITE_ROW) {
        list.push_back(ipModelOf(row));
    }
    return true;
}

bool DnsCacheFile::insertDomain(const DomainModel& model) {
    SqliteUse use(prepared(INSERT_DOMAIN));
    use.bind(model.domain, model.sp, model.expireTime, model.finallyTime);
    return use.step() == SQLITE_DONE;
}

bool DnsCacheFile::insertIp(const IpModel& model) {
    SqliteUse use(prepared(INSERT_IP));
    use.bind(model.domain, model.ip, model.port, model.sp, model.expireTime, model.priority,
             model.roundtripTime, model.successNum, model.errNum, model.finallySuccessTime,
             model.finallyFailTime, model.grade);
    return use.step() == SQLITE_DONE;
}

bool DnsCacheFile::updateIp(const IpModel& model) {
    SqliteUse use(prepared(UPDATE_IP));
    use.bind(model.domain, model.ip, model.port, model.sp, model.expireTime, model.priority,
             model.roundtripTime, model.successNum, model.errNum, model.finallySuccessTime,
             model.finallyFailTime, model.grade, model.id);
    return use.step() == SQLITE_DONE;
}

bool DnsCacheFile::deleteDomain(const std::string& domain) {
    SqliteUse use(prepared(DELETE_DOMAIN));
    use.bind(domain);
    return use.step() == SQLITE_DONE;
}

bool DnsCacheFile::deleteIps(const std::string& domain) {
    SqliteUse use(prepared(DELETE_IPS));
    use.bind(domain);
    return use.step() == SQLITE_DONE;
}

int DnsCacheFile::deleteAll() {
    const int ips = run(DELETE_ALL_IPS);
    return ips == SQLITE_DONE ? run(DELETE_ALL_DOMAINS) : ips;
}

}  // namespace vloxlib
