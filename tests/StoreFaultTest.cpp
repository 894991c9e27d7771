#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "support/FaultyVfs.h"
#include "support/LogCapture.h"
#include "support/StoreFixture.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

// An operation that writes. It tells whether it reported success; those that never report a failure say true.
struct Operation {
    const char* name;
    std::function<bool(Sqlite3Functions&)> run;
};

BaseResult resultOf(const std::string& id, int type = 16) {
    return {id, static_cast<ResultType>(type), "done", 0, RESULT_STATUS_STORED};
}

bool submit(Sqlite3Functions& store, int target) {
    CMDInfoItemSet commands = {std::make_shared<CMDInfoItem>("c9", "m", 1, "from", "", "")};
    std::map<std::string, int64> ids = {{"new 1", 1}, {"new 2", 2}};
    return store.submitBatchMessage(target, {resultOf("n1"), resultOf("n2")}, commands, ids, 70, 80) == 0;
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
         const bool taken = s.getTask(tasks, 8, TASK_STATUS_WAITING, 2) == 0;
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
     [](auto& s) {
         return s.updateTaskStatus(std::vector<std::string>{"f1", "f2"}, TASK_STATUS_TAKEN, false) == 0;
     }},
    {"updateTaskStatus by mask", [](auto& s) { return s.updateTaskStatus(0, 8, 7) == 0; }},
    {"updateFileTaskStatus", [](auto& s) { return s.updateFileTaskStatus("f1", TASK_STATUS_TAKEN) == 0; }},
    {"resetTaskStatus", [](auto& s) { return s.resetTaskStatus() == 0; }},
    {"updateFileTaskData",
     [](auto& s) {
         std::vector<BaseTask> tasks(1);
         tasks[0].setTaskId("f1");
         tasks[0].setSerializedData("rewritten");
         return s.updateFileTaskData(tasks) == 0;
     }},
    {"deleteTask", [](auto& s) { return s.deleteTask("f1") == 0; }},
    {"deleteTasks",
     [](auto& s) {
         return s.deleteTasks({resultOf("f1"), resultOf("f2")}, true) == 0;
     }},
    {"deleteFileTaskInfo", [](auto& s) { return s.deleteFileTaskInfo("f1") == 0; }},
    {"deleteFileTaskInfos", [](auto& s) { return s.deleteFileTaskInfos(0, 8) == 0; }},
    {"deleteAllFileTaskInfo", [](auto& s) { return s.deleteAllFileTaskInfo() == 0; }},
    {"sweepTask", [](auto& s) { return s.sweepTask("m1", 5) == 0; }},
    {"sweepTasks",
     [](auto& s) {
         return s.sweepTasks({resultOf("m1"), resultOf("m2")}) == 0;
     }},
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
    {"addResult",
     [](auto& s) {
         return s.addResult({resultOf("n1"), resultOf("n2")}, false) == 0;
     }},
    {"updateResultStatus",
     [](auto& s) { return s.updateResultStatus("r1", static_cast<ResultStatus>(5)) == 0; }},
    {"deleteResult",
     [](auto& s) {
         return s.deleteResult({{"r1", static_cast<ResultType>(16)}, {"r2", static_cast<ResultType>(16)}}) ==
                0;
     }},
    {"updateFileResultData",
     [](auto& s) {
         std::vector<BaseResult> results = {resultOf("r1")};
         results[0].setData("rewritten");
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
         std::map<std::string, int64> ids = {{"new 1", 1}, {"new 2", 2}};
         return s.retainMsgID(ids, false);
     }},
    {"retainSendMsgID", [](auto& s) { return s.retainSendMsgID("new"), true; }},
    {"retainSendMsgIDs",
     [](auto& s) {
         std::vector<std::string> ids = {"new 1", "new 2"};
         return s.retainSendMsgIDs(ids), true;
     }},
    {"retainCMDInfo",
     [](auto& s) {
         CMDInfoItem item("c9", "m", 1, "from", "", "");
         return s.retainCMDInfo(item);
     }},
    {"retainCMDInfo of many",
     [](auto& s) {
         CMDInfoItemSet items = {std::make_shared<CMDInfoItem>("c9", "m", 1, "from", "", "")};
         return s.retainCMDInfo(items, false) == 0;
     }},
    {"deleteCMDInfo",
     [](auto& s) {
         CMDInfoItem item("c1", "", 0, "", "", "");
         return s.deleteCMDInfo(item);
     }},
    {"addGroupVersionInfos",
     [](auto& s) {
         return s.addGroupVersionInfos({{"g1", "1", 1}, {"g2", "1", 1}}, false) == 0;
     }},
    {"addResultToLocalMessageTable",
     [](auto& s) {
         return s.addResultToLocalMessageTable({resultOf("n1"), resultOf("n2")}, false) == 0;
     }},
    {"deleteLocalMessages",
     [](auto& s) {
         return s.deleteLocalMessages({1, 2}) == 0;
     }},
    {"submitBatchMessage to the results", [](auto& s) { return submit(s, 0); }},
    {"submitBatchMessage to the held messages", [](auto& s) { return submit(s, 1); }},
};

class StoreFaultTest : public StoreFixture {
protected:
    StoreFaultTest() {
        const char* const pairs[] = {"f1", "f2"};
        for (const char* id : pairs) {
            store().addFileTask(id, TASK_TYPE_FILE, forever, TASK_PRIORITY_DEFAULT, "d", id);
        }
        addTask("m1", 16);
        addTask("m2", 16);
        store().updateTaskStatus("m2", TASK_STATUS_TAKEN);
        addTask("expired", 1, 1, QoS::qosRetryUtilTimeout(0));
        store().addResult({resultOf("r1"), resultOf("r2")}, false);
        store().setKeyAndValue("k", "v");
        store().retain(1, 0);
        store().retain(2, 1);
        CMDInfoItem item("c1", "m", 1, "from", "", "");
        store().retainCMDInfo(item);
        store().addResultToLocalMessageTable({resultOf("l1"), resultOf("l2")}, false);
        close();
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
    const LogCapture log;
    const std::vector<std::string> before = content();
    for (const Operation& operation : operations) {
        restore();
        ASSERT_TRUE(operation.run(store())) << operation.name;
        const std::vector<std::string> after = content();
        ASSERT_NE(before, after) << operation.name << " has to change something to be of use here";
        for (const auto fault : {FaultyVfs::DISK_FULL, FaultyVfs::WRITE_ERROR, FaultyVfs::SYNC_ERROR}) {
            bool reached = true;
            for (int point = 0; reached; ++point) {
                SCOPED_TRACE(std::string(operation.name) + ", fault " + std::to_string(fault) + " at " +
                             std::to_string(point));
                ASSERT_LT(point, 100);
                restore();
                store();
                const std::ptrdiff_t lines = log.count("W", "");
                disk.fail(fault, point);
                const bool succeeded = operation.run(store());
                reached = disk.heal();
                if (!reached) {
                    EXPECT_TRUE(succeeded);
                    EXPECT_EQ(after, content());
                    continue;
                }
                EXPECT_LT(lines, log.count("W", "")) << "told at least there";
                EXPECT_EQ(before, content());
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
        EXPECT_EQ(SQLITE_OK, store().addTask(task.getTaskId() + std::to_string(row.fault), TASK_TYPE_FILE,
                                             forever, TASK_PRIORITY_DEFAULT, ""));
    }
    close();
}
