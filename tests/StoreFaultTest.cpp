#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <regex>
#include <set>

#include "support/FaultyVfs.h"
#include "support/LogCapture.h"
#include "support/StoreFixture.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

using Run = std::function<bool(Sqlite3Functions&)>;

// An operation that writes. It tells whether it reported success; those that never report a failure say true.
// What is there after a failure is all or nothing, or what `half` leads to where the contract allows for
// that.
struct Operation {
    const char* name;
    Run run;
    Run half = nullptr;
};

// Lists have more rows than the store's file, as it is prepared below, keeps in memory during a transaction.
constexpr int kRows = 12;
const std::string large(3000, 'p');

BaseResult resultOf(const std::string& id, int type = 16) {
    return {id, static_cast<ResultType>(type), large, 0, RESULT_STATUS_STORED};
}

std::vector<std::string> ids(const std::string& kind) {
    std::vector<std::string> all;
    for (int row = 1; row <= kRows; ++row) {
        all.push_back(kind + std::to_string(row));
    }
    return all;
}

template <class Row, class Make>
std::vector<Row> rowsOf(const std::string& kind, Make make) {
    std::vector<Row> all;
    for (const std::string& id : ids(kind)) {
        all.push_back(make(id));
    }
    return all;
}

std::vector<BaseResult> resultsOf(const std::string& kind) {
    return rowsOf<BaseResult>(kind, [](const std::string& id) { return resultOf(id); });
}

std::map<std::string, int64> messageIds() {
    std::map<std::string, int64> all;
    for (const std::string& id : ids("new message, whose id is long: " + large)) {
        all.emplace(id, 1);
    }
    return all;
}

CMDInfoItemSet commands() {
    CMDInfoItemSet all;
    for (const std::string& id : ids("c")) {
        all.insert(std::make_shared<CMDInfoItem>(id, "new", 1, large, "", ""));
    }
    return all;
}

bool submit(Sqlite3Functions& store, int target) {
    CMDInfoItemSet items = commands();
    std::map<std::string, int64> received = messageIds();
    return store.submitBatchMessage(target, resultsOf("n"), items, received, 70, 80) == 0;
}

const QoS forever = QoS::qosRetryForever();

const Operation operations[] = {
    {"setKeyAndValue", [](auto& s) { return s.setKeyAndValue("k2", "v") == 0; }},
    {"updateValueByKey", [](auto& s) { return s.updateValueByKey("k", "new") == 0; }},
    {"replaceValueByKey", [](auto& s) { return s.replaceValueByKey("k", "new") == 0; }},
    {"deleteValueByKey", [](auto& s) { return s.deleteValueByKey("k") == 0; }},
    {"addTask",
     [](auto& s) { return s.addTask("n", TASK_TYPE_FILE, forever, TASK_PRIORITY_DEFAULT, "d") == 0; }},
    {"addTask of many pages",
     [](auto& s) {
         return s.addTask("n", TASK_TYPE_FILE, forever, TASK_PRIORITY_DEFAULT, std::string(100000, 'p')) == 0;
     }},
    {"addFileTask",
     [](auto& s) {
         return s.addFileTask("n", TASK_TYPE_FILE, forever, TASK_PRIORITY_DEFAULT, "d", "md5 n") == 0;
     }},
    {"addFileTaskInfo", [](auto& s) { return s.addFileTaskInfo("n", "md5 n") == 0; }},
    {"getTask",
     [](auto& s) {
         std::vector<BaseTask> tasks;
         const bool taken = s.getTask(tasks, 8, TASK_STATUS_WAITING, kRows) == 0;
         EXPECT_EQ(taken, !tasks.empty());
         return taken;
     }},
    {"getTaskAndUpdateStatus",
     [](auto& s) {
         std::vector<BaseTask> tasks;
         return s.getTaskAndUpdateStatus(8, TASK_STATUS_WAITING, TASK_STATUS_TAKEN, tasks) == 0;
     }},
    {"updateTask", [](auto& s) { return s.updateTask("f1", TASK_TYPE_FILE, "new", TASK_STATUS_TAKEN) == 0; }},
    {"updateTaskStatus of one", [](auto& s) { return s.updateTaskStatus("f1", TASK_STATUS_TAKEN) == 0; }},
    {"updateTaskStatus of many",
     [](auto& s) { return s.updateTaskStatus(ids("f"), TASK_STATUS_TAKEN, false) == 0; }},
    {"updateTaskStatus of two, each by itself",
     [](auto& s) {
         return s.updateTaskStatus(std::vector<std::string>{"f1", "f2"}, TASK_STATUS_TAKEN, true) == 0;
     },
     [](auto& s) { return s.updateTaskStatus("f1", TASK_STATUS_TAKEN) == 0; }},
    {"updateTaskStatus by mask", [](auto& s) { return s.updateTaskStatus(0, 8, 7) == 0; }},
    {"updateFileTaskStatus", [](auto& s) { return s.updateFileTaskStatus("f1", TASK_STATUS_TAKEN) == 0; }},
    {"resetTaskStatus", [](auto& s) { return s.resetTaskStatus() == 0; }},
    {"updateFileTaskData",
     [](auto& s) {
         auto tasks = rowsOf<BaseTask>("f", [](const std::string& id) {
             BaseTask task;
             task.setTaskId(id);
             task.setSerializedData("rewritten " + large);
             return task;
         });
         return s.updateFileTaskData(tasks) == 0;
     }},
    {"deleteTask", [](auto& s) { return s.deleteTask("f1") == 0; }},
    {"deleteTasks", [](auto& s) { return s.deleteTasks(resultsOf("f"), true) == 0; }},
    {"deleteFileTaskInfo", [](auto& s) { return s.deleteFileTaskInfo("f1") == 0; }},
    {"deleteFileTaskInfos", [](auto& s) { return s.deleteFileTaskInfos(0, 8) == 0; }},
    {"deleteAllFileTaskInfo", [](auto& s) { return s.deleteAllFileTaskInfo() == 0; }},
    {"sweepTask", [](auto& s) { return s.sweepTask("m1", 5) == 0; }},
    {"sweepTasks", [](auto& s) { return s.sweepTasks(resultsOf("m")) == 0; }},
    {"sweepFileTask", [](auto& s) { return s.sweepFileTask("f1", 5, true) == 0; }},
    {"sweepFileTask that keeps", [](auto& s) { return s.sweepFileTask("f1", 5, false) == 0; }},
    {"sweepTimeoutTasks",
     [](auto& s) {
         int count = -1;
         const bool swept = s.sweepTimeoutTasks(5, count) == 0;
         EXPECT_EQ(swept ? 1 : -1, count);
         return swept;
     }},
    {"sweepTaskWithQosRetryProcess", [](auto& s) { return s.sweepTaskWithQosRetryProcess(5) == 0; }},
    {"addResult", [](auto& s) { return s.addResult(resultsOf("n"), false) == 0; }},
    {"updateResultStatus",
     [](auto& s) { return s.updateResultStatus("r1", static_cast<ResultStatus>(5)) == 0; }},
    {"deleteResult",
     [](auto& s) {
         using Key = std::pair<std::string, ResultType>;
         return s.deleteResult(rowsOf<Key>(
                    "r", [](const std::string& id) { return Key(id, static_cast<ResultType>(16)); })) == 0;
     }},
    {"updateFileResultData",
     [](auto& s) {
         std::vector<BaseResult> results = resultsOf("r");
         for (BaseResult& result : results) {
             result.setData("rewritten " + large);
         }
         return s.updateFileResultData(results) == 0;
     }},
    {"retain", [](auto& s) { return s.retain(9, 0); }},
    {"retainSeqId",
     [](auto& s) {
         return s.retainSeqId({{0, 10}, {1, 11}});
     }},
    {"retainMsgID", [](auto& s) { return s.retainMsgID(1, "new", 1); }},
    {"retainMsgID of many",
     [](auto& s) {
         std::map<std::string, int64> received = messageIds();
         return s.retainMsgID(received, false);
     }},
    {"retainSendMsgID", [](auto& s) { return s.retainSendMsgID("new"), true; }},
    {"retainSendMsgIDs",
     [](auto& s) {
         std::vector<std::string> sent = ids("new message, whose id is long: " + large);
         return s.retainSendMsgIDs(sent), true;
     }},
    {"retainCMDInfo",
     [](auto& s) {
         CMDInfoItem item("c9", "m", 1, "from", "", "");
         return s.retainCMDInfo(item);
     }},
    {"retainCMDInfo of many",
     [](auto& s) {
         CMDInfoItemSet items = commands();
         return s.retainCMDInfo(items, false) == 0;
     }},
    {"deleteCMDInfo",
     [](auto& s) {
         CMDInfoItem item("c1", "", 0, "", "", "");
         return s.deleteCMDInfo(item);
     }},
    {"addGroupVersionInfos",
     [](auto& s) {
         return s.addGroupVersionInfos(
                    rowsOf<GroupMsgInfo>("g",
                                         [](const std::string& id) { return GroupMsgInfo(id, large, 1); }),
                    false) == 0;
     }},
    {"addResultToLocalMessageTable",
     [](auto& s) { return s.addResultToLocalMessageTable(resultsOf("n"), false) == 0; }},
    {"deleteLocalMessages",
     [](auto& s) {
         std::vector<long> rows(kRows);
         std::iota(rows.begin(), rows.end(), 1L);
         return s.deleteLocalMessages(rows) == 0;
     }},
    {"submitBatchMessage to the results", [](auto& s) { return submit(s, 0); }},
    {"submitBatchMessage to the held messages", [](auto& s) { return submit(s, 1); }},
};

class StoreFaultTest : public StoreFixture {
protected:
    StoreFaultTest() {
        for (const std::string& id : ids("f")) {
            store().addFileTask(id, TASK_TYPE_FILE, forever, TASK_PRIORITY_DEFAULT, large, id);
        }
        for (const std::string& id : ids("m")) {
            addTask(id, 16, 1, QoS::qosOnlyOnce(15), large);
        }
        store().updateTaskStatus("m2", TASK_STATUS_TAKEN);
        addTask("expired", 1, 1, QoS::qosRetryUtilTimeout(0));
        store().addResult(resultsOf("r"), false);
        store().setKeyAndValue("k", "v");
        store().retain(1, 0);
        store().retain(2, 1);
        CMDInfoItem item("c1", "m", 1, "from", "", "");
        store().retainCMDInfo(item);
        store().addResultToLocalMessageTable(resultsOf("l"), false);
        raw("PRAGMA default_cache_size=10");
        std::filesystem::copy_file(file(), m_dir.path("prepared.db"));
    }
    void restore() {
        close();
        std::filesystem::remove(file());  // not every C++ library overwrites when it is told to
        std::filesystem::copy_file(m_dir.path("prepared.db"), file());
    }
    // All rows of all tables, without the times, which the clock writes.
    std::vector<std::string> content() {
        close();
        const RawDatabase database(file());
        EXPECT_THAT(database.values("PRAGMA integrity_check"), testing::ElementsAre("ok"));
        std::vector<std::string> all;
        for (const std::string& table :
             database.values("SELECT name FROM sqlite_master WHERE type='table'")) {
            std::string columnsSql = "SELECT group_concat('\"' || name || '\"') FROM pragma_table_info('";
            columnsSql.append(table).append("') WHERE name NOT IN ('create_time','complete_time')");
            const std::string columns = database.values(columnsSql).front();
            all.push_back(table);
            std::string rowsSql = "SELECT ";
            rowsSql.append(columns).append(" FROM ").append(table);
            const std::vector<std::string> rows = database.values(rowsSql);
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }
};

}  // namespace

// At every write and every sync of every operation: nothing half done, a failure told or at least logged, and
// all is well again with the disk.
TEST_F(StoreFaultTest, DiskThatFailsAtAnyPointLeavesTheStoreAsItWasAndUsable) {
    FaultyVfs disk;
    const std::vector<std::string> before = content();
    for (const Operation& operation : operations) {
        const LogCapture log;
        restore();
        ASSERT_TRUE(operation.run(store())) << operation.name;
        const std::vector<std::string> after = content();
        ASSERT_NE(before, after) << operation.name << " has to change something to be of use here";
        restore();
        const std::vector<std::string> half = operation.half && operation.half(store()) ? content() : before;
        for (const auto fault : {FaultyVfs::FILE_LIMIT, FaultyVfs::WRITE_ERROR, FaultyVfs::SYNC_ERROR}) {
            bool reached = true;
            for (int point = 0; reached; point += 1 + point / 4) {
                SCOPED_TRACE(std::string(operation.name) + ", fault " + std::to_string(fault) + " at " +
                             std::to_string(point));
                ASSERT_LT(point, 2000);
                restore();
                store();
                const std::ptrdiff_t lines = log.count("W", "");
                disk.fail(fault, point);
                const bool succeeded = operation.run(store());
                reached = disk.heal();
                if (!reached) {
                    EXPECT_TRUE(succeeded);
                    EXPECT_EQ(SQLITE_OK, store().getLastCommitCode());
                    EXPECT_EQ(after, content());
                    continue;
                }
                EXPECT_LT(lines, log.count("W", ""));
                EXPECT_TRUE(!succeeded || store().getLastCommitCode() != SQLITE_OK);
                EXPECT_THAT(content(), testing::AnyOf(before, half));
                EXPECT_TRUE(operation.run(store())) << "the fault is gone";
                EXPECT_EQ(after, content());
                // and once more, without closing the store in between
                restore();
                store();
                disk.fail(fault, point);
                operation.run(store());
                disk.heal();
                EXPECT_TRUE(operation.run(store()));
                EXPECT_EQ(after, content());
            }
        }
        if (HasFailure()) {
            break;
        }
    }
    close();
}

TEST_F(StoreFaultTest, EveryOperationThatWritesStandsInTheTable) {
    std::ifstream header(VLOX_STORE_HEADER);
    const std::regex declared(R"((?:int|bool|void) (\w+)\()");
    const std::regex other("(get(?!Task$|TaskAnd)|has|is|batchCheck|preprocess|do|release|sqlite3_).*");
    std::set<std::string> missing;
    for (std::string line; std::getline(header, line) && line != "private:";) {
        std::smatch name;
        if (std::regex_search(line, name, declared) && !std::regex_match(name.str(1), other)) {
            missing.insert(name.str(1));
        }
    }
    EXPECT_LT(30U, missing.size()) << "the header isn't read";
    for (const Operation& operation : operations) {
        missing.erase(std::string(operation.name).substr(0, std::string(operation.name).find_first_of(" ,")));
    }
    EXPECT_THAT(missing, testing::IsEmpty());
}

// Where SQLite ends a transaction by itself, what was to follow must not commit itself.
TEST_F(StoreFaultTest, SweepOnAFullDiskIsWholeWhereverItEnds) {
    FaultyVfs disk;
    const LogCapture log;
    struct Row {
        int tasks;
        std::size_t size;
    };
    for (const Row& row : {Row{8, 1 << 20}, Row{2500, 1000}}) {
        const std::string name = std::to_string(row.tasks) + "/";
        std::vector<BaseResult> results;
        store().sqlite3_begin_transaction();
        for (int task = 0; task < row.tasks; ++task) {
            results.push_back(resultOf(name + std::to_string(task)));
            addTask(results.back().getResultId(), 16, 1, forever, std::string(row.size, 't'));
            results.back().setData(std::string(row.size, 'r'));
        }
        ASSERT_EQ(SQLITE_OK, store().sqlite3_commit_transaction());
        close();
        std::filesystem::rename(file(), m_dir.path("prepared.db"));
        bool reached = true;
        for (int pages = static_cast<int>(row.tasks * row.size / FaultyVfs::kPage); reached;
             pages += pages / 20) {
            SCOPED_TRACE(name + " files of at most " + std::to_string(pages) + " pages");
            restore();
            store();
            disk.fail(FaultyVfs::FILE_LIMIT, pages);
            const bool swept = store().sweepTasks(results) == 0 && store().getLastCommitCode() == SQLITE_OK;
            reached = disk.heal();
            EXPECT_TRUE(swept || reached);
            const auto count = [&](const std::string& table, const std::string& id) {
                return std::stoi(
                    value("SELECT count(*) FROM " + table + " WHERE " + id + " LIKE '" + name + "%'"));
            };
            EXPECT_EQ(swept ? 0 : row.tasks, count("table_task", "task_id"));
            EXPECT_EQ(swept ? row.tasks : 0, count("table_result", "result_id"));
        }
    }
    EXPECT_LT(0,
              log.count("C", "nothing of the transaction is stored. rc=13,errmsg=database or disk is full"));
    close();
}

TEST_F(StoreFaultTest, CallersTransactionThatSqliteEndsTakesNothingMore) {
    FaultyVfs disk;
    EXPECT_EQ(SQLITE_OK, store().sqlite3_begin_transaction());
    EXPECT_EQ(SQLITE_OK, addTask("before"));
    disk.fail(FaultyVfs::DISK_FULL, 0);
    EXPECT_EQ(SQLITE_FULL, store().addResult(resultsOf("n"), true));
    disk.heal();
    EXPECT_EQ(SQLITE_FULL, addTask("behind"));
    EXPECT_FALSE(store().retain(99, 7));
    EXPECT_NE(SQLITE_OK, store().sqlite3_commit_transaction());
    EXPECT_EQ(SQLITE_FULL, store().getLastCommitCode());
    EXPECT_EQ(SQLITE_OK, addTask("next"));
    EXPECT_EQ(SQLITE_OK, store().getLastCommitCode());
    EXPECT_EQ("next", value("SELECT task_id FROM table_task WHERE task_id IN ('before','behind','next')"));
    EXPECT_EQ("0", value("SELECT count(*) FROM table_seqid WHERE priority=7"));
    close();
}

TEST_F(StoreFaultTest, OlderFileIsRewrittenOnceWhateverTheDiskDoes) {
    raw("DELETE FROM table_key_value; UPDATE table_result SET type=8;"
        "UPDATE table_task SET task_data='{\"httpResquestType\":53,\"httpResquestData\":\"{}\"}';"
        "UPDATE table_result SET result_data='{\"httpResquestType\":53,\"httpResquestData\":\"{}\"}'");
    std::filesystem::rename(file(), m_dir.path("prepared.db"));
    FaultyVfs disk;
    restore();
    store();
    const std::vector<std::string> after = content();
    bool reached = true;
    for (int point = 0; reached; ++point) {
        SCOPED_TRACE(point);
        restore();
        disk.fail(FaultyVfs::DISK_FULL, point);
        store();
        reached = disk.heal();
        close();
        store();
        EXPECT_EQ(after, content());
    }
}

// What is one statement, and so commits itself, tells its failure by its code.
TEST_F(StoreFaultTest, CodeOfTheDiskComesBack) {
    FaultyVfs disk;
    struct Row {
        FaultyVfs::Fault fault;
        int code;
    };
    for (const Row& row : {Row{FaultyVfs::DISK_FULL, SQLITE_FULL}, Row{FaultyVfs::WRITE_ERROR, SQLITE_IOERR},
                           Row{FaultyVfs::SYNC_ERROR, SQLITE_IOERR}}) {
        SCOPED_TRACE(row.fault);
        store();
        disk.fail(row.fault, 0);
        EXPECT_EQ(row.code, addTask("n"));
        EXPECT_EQ(row.code, store().setKeyAndValue("n", "v"));
        EXPECT_EQ(row.code, store().deleteTask("f1"));
        std::vector<BaseTask> tasks;
        EXPECT_EQ(row.code, store().getTask(tasks, 8, TASK_STATUS_WAITING, 1));
        BaseTask task;
        EXPECT_EQ(SQLITE_OK, store().getTask(task, "f1")) << "reading goes on";
        disk.heal();
        EXPECT_EQ(SQLITE_OK, store().addTask("n" + std::to_string(row.fault), TASK_TYPE_FILE, forever,
                                             TASK_PRIORITY_DEFAULT, ""));
    }
    close();
}
