#ifndef TESTS_SUPPORT_RESOLVERFIXTURE_H
#define TESTS_SUPPORT_RESOLVERFIXTURE_H

#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/TempDir.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IpModel.h"
#include "vloxlib/utility/SqliteHandles.h"

namespace vlox_test {

/// Catches the lines of the resolver's log, from its construction to its end.
class ResolverLog {
public:
    ResolverLog() {
        lines().clear();
        vloxlib::DNSCacheLog::getInstance()->setTraceCallback(keep);
    }
    ~ResolverLog() { vloxlib::DNSCacheLog::getInstance()->setTraceCallback(nullptr); }
    ResolverLog(const ResolverLog&) = delete;
    ResolverLog& operator=(const ResolverLog&) = delete;

    struct Line {
        int level;
        std::string text;
    };
    std::vector<Line> all() const {
        const std::lock_guard<std::mutex> lock(mutex());
        return lines();
    }
    /// How many lines of a level end with the text.
    std::ptrdiff_t count(int level, const std::string& text) const {
        const std::vector<Line> caught = all();
        return std::count_if(caught.begin(), caught.end(), [&](const Line& line) {
            return line.level == level && line.text.size() >= text.size() &&
                   line.text.compare(line.text.size() - text.size(), text.size(), text) == 0;
        });
    }

private:
    // Never destroyed: a background resolve may log while the process ends.
    static std::mutex& mutex() {
        static auto& instance = *new std::mutex;
        return instance;
    }
    static std::vector<Line>& lines() {
        static auto& instance = *new std::vector<Line>;
        return instance;
    }
    static void keep(vloxlib::DNSCache_TRACE_LEVELS level, const char* text) {
        const std::lock_guard<std::mutex> lock(mutex());
        lines().push_back({level, text});
    }
};

/// The resolver's cache file in a directory of the test's own, as somebody else sees it.
class CacheFile {
public:
    std::string directory() const { return m_dir.path(); }
    std::string path() const { return m_dir.path("vloxDomain.db"); }
    const TempDir& dir() const { return m_dir; }

    /// A plain connection.
    vloxlib::SqliteConnection connect() const {
        sqlite3* connection = nullptr;
        sqlite3_open(path().c_str(), &connection);
        sqlite3_busy_timeout(connection, 10000);
        return vloxlib::SqliteConnection(connection);
    }
    /// Runs SQL on a plain connection.
    void raw(const std::string& sql) const {
        if (sqlite3_exec(connect().get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error("failed: " + sql);
        }
    }
    /// The first column of the first row of a select; -1 without a row.
    long long number(const std::string& sql) const {
        const vloxlib::SqliteConnection connection = connect();
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(connection.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            throw std::runtime_error("failed: " + sql);
        }
        const vloxlib::SqliteStatement owned(statement);
        return sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : -1;
    }
    long long rows(const std::string& table) const { return number("SELECT COUNT(*) FROM " + table); }

    /// A domain with one address that has worked as often, and last at this time.
    void know(const std::string& domain, const std::string& ip, int successNum = 0,
              int lastSuccess = 0) const {
        raw("INSERT OR IGNORE INTO domain_t (domain, expireTime, finallyTime) VALUES ('" + domain +
            "', 1, 1);" +
            "INSERT INTO ip_t (domain, ip, expireTime, roundtripTime, successNum, finallySuccessTime) VALUES "
            "('" +
            domain + "', '" + ip + "', 1, 0, " + std::to_string(successNum) + ", " +
            std::to_string(lastSuccess) + ");");
    }

private:
    TempDir m_dir;
};

/// The texts of a model's addresses, in their order.
inline std::vector<std::string> ipsOf(const std::shared_ptr<vloxlib::DomainModel>& model) {
    std::vector<std::string> texts;
    if (model) {
        for (const auto& ip : model->ipModels) {
            texts.push_back(ip->ip);
        }
    }
    return texts;
}

/// A domain with addresses as a provider's answer gives it.
inline std::shared_ptr<vloxlib::DomainModel> answer(const std::string& domain,
                                                    const std::vector<std::string>& ips) {
    auto model = std::make_shared<vloxlib::DomainModel>();
    model->domain = domain;
    model->expireTime = 60;
    for (const std::string& ip : ips) {
        model->ipModels.push_back(std::make_shared<vloxlib::IpModel>());
        model->ipModels.back()->domain = domain;
        model->ipModels.back()->ip = ip;
    }
    return model;
}

}  // namespace vlox_test

#endif
