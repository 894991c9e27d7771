#ifndef TESTS_SUPPORT_STOREFIXTURE_H
#define TESTS_SUPPORT_STOREFIXTURE_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <utility>
#include <vector>

#include "support/TempDir.h"
#include "vloxlib/database/Sqlite3Functions.h"

namespace vlox_test {

/// A plain connection to a database file, for looking at it and for damaging it.
class RawDatabase {
public:
    explicit RawDatabase(const std::string& path) {
        if (sqlite3_open(path.c_str(), &m_db) != SQLITE_OK) {
            ADD_FAILURE() << "can't open " << path;
        }
    }
    ~RawDatabase() { sqlite3_close(m_db); }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;

    sqlite3* handle() const { return m_db; }
    int tryRun(const std::string& sql) const {
        return sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr);
    }
    void run(const std::string& sql) const {
        ASSERT_EQ(SQLITE_OK, tryRun(sql)) << sqlite3_errmsg(m_db) << " in " << sql;
    }
    /// All values of a query as text, row after row; "NULL" for a NULL.
    std::vector<std::string> values(const std::string& sql) const {
        std::vector<std::string> found;
        const auto take = [](void* out, int count, char** texts, char**) {
            for (int column = 0; column < count; ++column) {
                static_cast<std::vector<std::string>*>(out)->emplace_back(texts[column] ? texts[column]
                                                                                        : "NULL");
            }
            return 0;
        };
        const int rc = sqlite3_exec(m_db, sql.c_str(), take, &found, nullptr);
        EXPECT_EQ(SQLITE_OK, rc) << sqlite3_errmsg(m_db) << " in " << sql;
        return found;
    }

private:
    sqlite3* m_db = nullptr;
};

/// One store in a directory of its own. What looks at the file closes the store; store() opens it again.
class StoreFixture : public ::testing::Test {
protected:
    ~StoreFixture() override { close(); }

    vloxlib::Sqlite3Functions& store() {
        return *vloxlib::Sqlite3Functions::getSqliteInstance(m_dir.path().c_str(), "client");
    }
    void close() { vloxlib::Sqlite3Functions::releaseSqliteInstance(m_dir.path().c_str(), "client"); }
    std::string file() const { return m_dir.path("client.db"); }

    /// SQL on a plain connection, over the tables of the store.
    void raw(const std::string& sql) {
        store();
        close();
        RawDatabase(file()).run(sql);
    }
    std::vector<std::string> values(const std::string& sql) {
        close();
        return RawDatabase(file()).values(sql);
    }
    std::string value(const std::string& sql) {
        const std::vector<std::string> all = values(sql);
        return all.size() == 1 ? all.front() : std::to_string(all.size()) + " values";
    }
    int rows(const std::string& table) { return std::stoi(value("SELECT count(*) FROM " + table)); }
    /// Lets a plain trigger refuse what happens to a table's rows, as in refuse("DELETE", "table_task").
    void refuse(const std::string& event, const std::string& table, const std::string& when = "1") {
        raw("CREATE TRIGGER refuse BEFORE " + event + " ON " + table + " WHEN " + when +
            " BEGIN SELECT RAISE(ABORT, 'injected'); END;");
    }
    void refuseNoMore() { raw("DROP TRIGGER refuse;"); }

    int addTask(const std::string& id, int type = vloxlib::TASK_TYPE_FILE, int priority = 1,
                const vloxlib::QoS& qos = vloxlib::QoS::qosOnlyOnce(15),
                const std::string& data = "payload") {
        return store().addTask(id, static_cast<vloxlib::TaskType>(type), qos,
                               static_cast<vloxlib::TaskPriority>(priority), data);
    }
    int statusOf(const std::string& id) {
        auto status = static_cast<vloxlib::TaskStatus>(-1);
        const int rc = store().getTaskStatus(id, status);
        return rc == SQLITE_OK ? status : -rc;
    }

    TempDir m_dir;
};

inline std::vector<std::string> idsOf(const std::vector<vloxlib::BaseTask>& tasks) {
    std::vector<std::string> ids;
    ids.reserve(tasks.size());
    for (const vloxlib::BaseTask& task : tasks) {
        ids.push_back(task.getTaskId());
    }
    return ids;
}

}  // namespace vlox_test

#endif
