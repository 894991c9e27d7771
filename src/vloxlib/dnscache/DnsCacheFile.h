#ifndef VLOXLIB_DNSCACHE_DNSCACHEFILE_H
#define VLOXLIB_DNSCACHE_DNSCACHEFILE_H

#include <vloxlib/Noncopyable.h>
#include <array>
#include <list>
#include <memory>
#include <string>

#include "vloxlib/utility/SqliteHandles.h"

namespace vloxlib {

class DomainModel;
class IpModel;

/// @brief The file of the resolver's cache: its connection and its statements, one operation per statement.
///
/// Each statement is prepared at its first use and kept. Without a file every statement fails. So does each
/// that follows in a transaction that SQLite has rolled back by itself: what begin() and commit() enclose is
/// stored whole or not at all.
/// Threads: none, the manager's lock is held. Errors: SQLite's codes or false; nothing is logged.
class DnsCacheFile : public Noncopyable {
    enum Text : std::size_t {
        BEGIN,
        COMMIT,
        ROLLBACK,
        READ_DOMAIN,
        READ_IPS,
        READ_IP,
        INSERT_DOMAIN,
        INSERT_IP,
        UPDATE_IP,
        DELETE_DOMAIN,
        DELETE_IPS,
        DELETE_ALL_IPS,
        DELETE_ALL_DOMAINS,
        TEXTS,
    };

public:
    bool open(const std::string& path);
    bool createTables();

    // The callers go on whatever comes back: a transaction may be open already, or gone.
    int begin();
    int commit() { return end(COMMIT); }
    int rollback() { return end(ROLLBACK); }

    /// @param model untouched when there is no such row
    /// @return false: the statement can't be prepared
    bool readDomain(const std::string& sp, const std::string& domain, std::shared_ptr<DomainModel>& model);
    /// Appends the addresses of a domain, those that worked longest ago or never first; with an `ip` only
    /// that one.
    /// @return false: the statement can't be prepared
    bool readIps(const std::string& ip, const std::string& sp, const std::string& domain,
                 std::list<std::shared_ptr<IpModel>>& list);
    bool insertDomain(const DomainModel& model);
    bool insertIp(const IpModel& model);
    bool updateIp(const IpModel& model);
    bool deleteDomain(const std::string& domain);
    bool deleteIps(const std::string& domain);
    /// @return SQLite's code of the first statement that failed, else of the last
    int deleteAll();

private:
    static const char* const s_texts[TEXTS];

    sqlite3_stmt* prepared(Text text);
    int run(Text text);
    int transact(Text text);
    int end(Text text);
    bool isRolledBack() const { return m_begun && !isInTransaction(m_connection.get()); }

    SqliteConnection m_connection;
    bool m_begun = false;                             // a transaction that hasn't been ended by us
    std::array<SqliteStatement, TEXTS> m_statements;  // null until prepared; gone before the connection
};

}  // namespace vloxlib

#endif
