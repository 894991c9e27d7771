#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

#include "support/LogCapture.h"
#include "support/Patterns.h"
#include "support/StoreFixture.h"
#include "win32/VLOXBase.h"
#include "win32/VloxModuleAbstract.h"

using namespace vloxlib;
using namespace vlox_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class StoreTest : public StoreFixture {};

BaseResult result(const std::string& id, int type = 8, const std::string& data = "done") {
    return {id, static_cast<ResultType>(type), data, 0, RESULT_STATUS_STORED};
}

}  // namespace

// ---- the file

TEST_F(StoreTest, FileHoldsTheElevenTablesAndNothingOfItsOwn) {
    const LogCapture log;
    store();
    EXPECT_THAT(
        values("SELECT type || ' ' || name FROM sqlite_master WHERE name NOT LIKE 'sqlite_%' ORDER BY name"),
        ElementsAre("table table_call_detail_record", "table table_fileTaskInfo",
                    "table table_groupVersionInfo", "table table_key_value", "table table_local_msg",
                    "table table_msg_cmd", "table table_result", "table table_send_failed_msgs",
                    "table table_seqid", "table table_seqid_messageid", "table table_task"));
    EXPECT_EQ("3.0.x", value("SELECT value FROM table_key_value"));
    EXPECT_EQ("EXT", value("SELECT type FROM pragma_table_info('table_msg_cmd') WHERE name='groupid'"));
    EXPECT_EQ("wal", value("PRAGMA journal_mode"));
    EXPECT_EQ(1, log.count("I", "no file task in table"));
    const std::vector<std::string> before = values("SELECT sql FROM sqlite_master");
    store();
    EXPECT_EQ(before, values("SELECT sql FROM sqlite_master"));
    EXPECT_EQ(1, log.count("no file task in table")) << "the migration runs once";
    EXPECT_EQ(2, log.count("I", "sqlite3 lib info. version=" + std::string(sqlite3_libversion())));
}

TEST_F(StoreTest, FileBelongsToOneConnectionFromTheOpeningOn) {
    store();
    close();
    store();  // nothing to write this time
    EXPECT_EQ(SQLITE_BUSY, RawDatabase(file()).tryRun("SELECT count(*) FROM table_task"));
    close();
    EXPECT_EQ(SQLITE_OK, RawDatabase(file()).tryRun("SELECT count(*) FROM table_task"));
}

TEST_F(StoreTest, RegistryKeepsOneStorePerPath) {
    Sqlite3Functions* const first = &store();
    EXPECT_EQ(first, &store());
    EXPECT_EQ(first, Sqlite3Functions::instances.at(m_dir.path() + "/client.db"));
    EXPECT_NE(first, Sqlite3Functions::getSqliteInstance(m_dir.path().c_str(), "other"));
    Sqlite3Functions::releaseSqliteInstance(m_dir.path().c_str(), "other");
    Sqlite3Functions::releaseSqliteInstance(m_dir.path().c_str(), "other");  // no fault
    Sqlite3Functions::releaseSqliteInstance(nullptr, "other");
    EXPECT_EQ(1U, Sqlite3Functions::instances.count(m_dir.path() + "/client.db"));
}

// What the log in the directory on the first line of a dead process's output says.
std::string logOf(const std::string& output) {
    const std::string directory = output.substr(0, output.find_first_of("\r\n"));
    std::string all;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ifstream file(entry.path());
        all.append(std::istreambuf_iterator<char>(file), {});
    }
    std::filesystem::remove_all(directory);
    return all;
}

// Opens its store where modules do: in a call of the registry's.
struct OpeningModule : VloxModuleAbstract {
    explicit OpeningModule(std::string directory) : dir(std::move(directory)) {}
    void onModuleRegistered(__int64) override { Sqlite3Functions::getSqliteInstance(dir.c_str(), "client"); }
    void onModuleUnregistered() override {}
    bool acceptsCommand(int) override { return false; }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override {}
    void onNotificationCmd(int, int, const std::string&) override {}
    void onBusinessCmd(int, int, const std::string&) override {}

    const std::string dir;
};

void startLogger() {
    static const TempDir* const dir = new TempDir;
    std::cerr << dir->path() << '\n';
    create_logger("dying", dir->path("dying.log").c_str(), false);
}

TEST_F(StoreTest, UnusableFileEndsTheProcessWithItsLineWritten) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    m_dir.write("file", "");
    const auto open = [](const std::string& dir) {
        startLogger();
        // At the end somebody waits for a thread that uses the registries until then.
        static struct Joined {
            ~Joined() {
                ending = true;
                thread.join();
            }
            std::atomic<bool> ending{false};
            std::thread thread{[this] {
                do {
                    Sqlite3Functions::releaseSqliteInstance("/nowhere", "none");
                    VLOXBase::dispatchBusinessCmd(1, 0, 0, "");
                } while (!ending);
            }};
        } joined;
        OpeningModule module(dir);
        VLOXBase::registerModule(1, &module);
    };
    EXPECT_EXIT(
        open(m_dir.path("file")), testing::ExitedWithCode(1),
        testing::ResultOf(logOf, vlox_test::HasPattern("\\[E\\].*open sqlite file\\(.*file/client.db\\) "
                                                       "failed. ret=14")));
    m_dir.write("client.db", "this is no database, and long enough to be told apart from an empty file");
    EXPECT_EXIT(
        open(m_dir.path()), testing::ExitedWithCode(1),
        testing::ResultOf(logOf, vlox_test::HasPattern("\\[E\\].*create table table_call_detail_record "
                                                       "failed for file is not a database")));
}

TEST_F(StoreTest, SecondStoreOnOneFileEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto openTwice = [this] {
        startLogger();
        store();
        Sqlite3Functions::getSqliteInstance((m_dir.path() + "/.").c_str(), "client");
    };
    EXPECT_EXIT(openTwice(), testing::ExitedWithCode(1),
                testing::ResultOf(logOf, testing::HasSubstr("failed for database is locked")));
}

// ---- the frame

TEST_F(StoreTest, KeysAndValues) {
    const std::string odd("quote ' and \0 NUL", 16);
    std::string value = "before";
    EXPECT_EQ(SQLITE_DONE, store().getValueByKey(odd, value));
    EXPECT_EQ(SQLITE_OK, store().updateValueByKey(odd, "no row")) << "an absent key is success";
    EXPECT_EQ(SQLITE_DONE, store().getValueByKey(odd, value));
    EXPECT_EQ("before", value);
    EXPECT_EQ(SQLITE_OK, store().setKeyAndValue(odd, odd));
    EXPECT_EQ(SQLITE_CONSTRAINT, store().setKeyAndValue(odd, "second"));
    EXPECT_EQ(SQLITE_OK, store().getValueByKey(odd, value));
    EXPECT_EQ(odd, value);
    EXPECT_EQ(SQLITE_OK, store().updateValueByKey(odd, "updated"));
    EXPECT_EQ(SQLITE_OK, store().replaceValueByKey(odd, "replaced"));
    EXPECT_EQ(SQLITE_OK, store().replaceValueByKey("new", ""));
    EXPECT_EQ(SQLITE_OK, store().getValueByKey(odd, value));
    EXPECT_EQ("replaced", value);
    EXPECT_EQ(SQLITE_OK, store().getValueByKey("new", value));
    EXPECT_EQ("", value);
    EXPECT_EQ(SQLITE_OK, store().deleteValueByKey(odd));
    EXPECT_EQ(SQLITE_OK, store().deleteValueByKey(odd)) << "an absent key is success";
    EXPECT_EQ(SQLITE_DONE, store().getValueByKey(odd, value));
    raw("UPDATE table_key_value SET value=NULL WHERE key='new'");
    value = "before";
    EXPECT_EQ(SQLITE_OK, store().getValueByKey("new", value));
    EXPECT_EQ("before", value) << "a NULL leaves the value alone";
}

TEST(Sqlite3Mutex, HoldsOthersOutUntilTheLastGuardIsGone) {
    const auto takenElsewhere = [](const Sqlite3Mutex& mutex) {
        int rc = SQLITE_OK;
        std::thread([&] {
            rc = mutex.tryLock();
            if (rc == SQLITE_OK) {
                mutex.unlock();
            }
        }).join();
        return rc == SQLITE_BUSY;
    };
    const Sqlite3Mutex recursive(SQLITE_MUTEX_RECURSIVE);
    {
        const Sqlite3Guard outer(recursive);
        try {
            const Sqlite3Guard inner(recursive);
            throw std::runtime_error("passing through");
        } catch (const std::runtime_error&) {
            EXPECT_TRUE(takenElsewhere(recursive));
        }
    }
    EXPECT_FALSE(takenElsewhere(recursive));
    const Sqlite3Mutex plain;
    EXPECT_EQ(0, plain.lock());
    EXPECT_TRUE(takenElsewhere(plain));
    EXPECT_EQ(0, plain.unlock());
    EXPECT_FALSE(takenElsewhere(plain));
}

TEST_F(StoreTest, TransactionHelpersReportAndLog) {
    store();
    const LogCapture log;
    EXPECT_EQ(SQLITE_OK, store().sqlite3_begin_transaction());
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_begin_transaction());
    EXPECT_EQ(SQLITE_OK, addTask("undone"));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_rollback_transaction());
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_rollback_transaction());
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_commit_transaction());
    EXPECT_EQ(0, rows("table_task"));
    EXPECT_EQ(
        1, log.count("W", "sqlite3_begin_transaction failed. rc=1,errmsg=cannot start a transaction within"));
    EXPECT_EQ(1, log.count("W", "sqlite3_rollback_transaction failed. rc=1,errmsg=cannot rollback"));
    EXPECT_EQ(1, log.count("W", "sqlite3_commit_transaction failed. rc=1,errmsg=cannot commit"));
}

TEST_F(StoreTest, StatementHelpersFinaliseWhatTheyRefuse) {
    const LogCapture log;
    const RawDatabase database(":memory:");
    const auto prepared = [&] {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(SQLITE_OK,
                  store().doSqlite3Prepare(database.handle(), "SELECT 1", -1, &statement, nullptr));
        return statement;
    };
    const auto open = [&] { return sqlite3_next_stmt(database.handle(), nullptr) != nullptr; };
    EXPECT_EQ(SQLITE_NOMEM, store().preprocessPrepare(prepared(), "7", "tried", SQLITE_NOMEM));
    EXPECT_EQ(SQLITE_ROW, store().preprocessNoSelect(prepared(), nullptr, nullptr, SQLITE_ROW));
    EXPECT_EQ(2, log.count("W", "sqlite3 error. method="));
    EXPECT_EQ(1, log.count("W", "sqlite3 error. method=tried,id=7,errcode="));
    EXPECT_EQ(SQLITE_DONE, store().preprocessSelect(prepared(), "", "silent", SQLITE_DONE));
    EXPECT_EQ(0, log.count("silent")) << "finding nothing is no failure";
    EXPECT_EQ(SQLITE_BUSY, store().preprocessSelect(prepared(), "", "loud", SQLITE_BUSY));
    EXPECT_EQ(1, log.count("W", "method=loud"));
    EXPECT_FALSE(open());
    sqlite3_stmt* const statement = prepared();
    EXPECT_EQ(SQLITE_OK, store().preprocessPrepare(statement, "", "", SQLITE_OK));
    EXPECT_EQ(SQLITE_ROW, store().preprocessSelect(statement, "", "", store().doSqlite3Step(statement)));
    EXPECT_EQ(SQLITE_DONE, store().preprocessNoSelect(statement, "", "", store().doSqlite3Step(statement)));
    EXPECT_TRUE(open());
    EXPECT_EQ(SQLITE_OK, store().doSqlite3Finalize(statement));
}

TEST_F(StoreTest, FileInTheWrongShapeFailsWhereItIsPrepared) {
    raw("DROP TABLE table_task; CREATE TABLE table_task(other TEXT)");
    const LogCapture log;
    EXPECT_EQ(SQLITE_ERROR, addTask("t"));
    EXPECT_EQ(SQLITE_ERROR, addTask("t")) << "and again, not from a remembered statement";
    EXPECT_EQ(
        2,
        log.count("W", "sqlite3 error. method=addTask,id=t,errcode=1,errmsg=table table_task has no column"));
    EXPECT_TRUE(store().hasTask("t")) << "what can't be asked counts as present";
    EXPECT_TRUE(store().hasTask(TASK_TYPE_FILE, TASK_STATUS_WAITING));
    EXPECT_EQ(SQLITE_OK, addTask("t", 8, TASK_PRIORITY_SINGLETON))
        << "so the singleton is dropped as a second one";
    EXPECT_EQ(SQLITE_ERROR, store().deleteTasks({result("t"), result("u")}, true));
    EXPECT_EQ(1, log.count("W", "deleteTasks failed. rc = 1 errInfo=no such column: task_id"));
    EXPECT_EQ(2, log.count("W", "redeleteTasks failed. merrInfo="));
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_rollback_transaction()) << "its transaction has ended";
    EXPECT_EQ(SQLITE_ERROR,
              store().updateTaskStatus(std::vector<std::string>{"t"}, TASK_STATUS_TAKEN, false));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_rollback_transaction()) << "this one is left open";
    std::vector<BaseTask> tasks(1);
    EXPECT_EQ(SQLITE_ERROR, store().updateFileTaskData(tasks));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_rollback_transaction()) << "and this one";
    EXPECT_EQ(SQLITE_ERROR, store().getTask(tasks, 8, TASK_STATUS_WAITING, 1));
    EXPECT_THAT(tasks, IsEmpty());
}

TEST_F(StoreTest, LogShrinksAgainAfterABurst) {
    addTask("burst", 8, 1, QoS::qosOnlyOnce(15), std::string(20 << 20, 'p'));
    EXPECT_LT(20U << 20, std::filesystem::file_size(file() + "-wal"));
    addTask("next");
    addTask("next but one");
    EXPECT_GE(4U << 20, std::filesystem::file_size(file() + "-wal"));
}

// ---- tasks

TEST_F(StoreTest, TaskComesBackAsItWasStored) {
    BaseTask task(std::string("id ' \"\0 \xc3\xa9", 10), static_cast<TaskType>(0x40000000),
                  QoS::qosRetryUtilTimeout(-3), static_cast<TaskPriority>(-100));
    task.setSerializedData(std::string(1 << 20, '\'') + std::string("\0end", 4));
    task.setCreateTime(-1234567890123LL);
    task.setStatus(TASK_STATUS_FILE_DONE);
    task.increaseExcuteTime();
    ASSERT_EQ(SQLITE_OK, store().addTask(task));
    close();
    BaseTask back;
    ASSERT_EQ(SQLITE_OK, store().getTask(back, task.getTaskId()));
    EXPECT_EQ(task.getTaskId(), back.getTaskId());
    EXPECT_EQ(task.getTaskType(), back.getTaskType());
    EXPECT_EQ(4, back.getQoS().getQosLevel());
    EXPECT_EQ(-3, back.getQoS().getQosParameter());
    EXPECT_EQ(-100, back.getPriority());
    EXPECT_EQ(task.getSerializedData(), back.getSerializedData());
    EXPECT_EQ(-1234567890123LL, back.getCreateTime());
    EXPECT_EQ(TASK_STATUS_WAITING, back.getStatus()) << "a new row waits, whatever the record says";
    EXPECT_EQ(0, back.getExcuteTime());
}

TEST_F(StoreTest, UnknownLevelAndNullPayloadAreRead) {
    addTask("t");
    raw("UPDATE table_task SET qos=9, qos_para=7");
    BaseTask task;
    task.increaseExcuteTime();
    EXPECT_EQ(SQLITE_OK, store().getTask(task, "t"));
    EXPECT_EQ(QoS::QOS_RETRY_FOREVER, task.getQoS().getQosLevel());
    EXPECT_EQ(60, task.getQoS().getQosParameter());
    EXPECT_EQ(1, task.getExcuteTime()) << "only what has a column is read";
    EXPECT_EQ(SQLITE_DONE, store().getTask(task, "unknown"));
}

TEST_F(StoreTest, DuplicateIsRefusedAndSingletonIsDropped) {
    EXPECT_EQ(SQLITE_OK, addTask("t", 8, 5));
    EXPECT_EQ(SQLITE_CONSTRAINT, addTask("t", 1, 7));
    EXPECT_EQ("5", value("SELECT priority FROM table_task"));
    EXPECT_EQ(SQLITE_OK, addTask("single", 8, TASK_PRIORITY_SINGLETON));
    EXPECT_EQ(SQLITE_OK, addTask("another", 8, TASK_PRIORITY_SINGLETON));
    EXPECT_EQ(SQLITE_OK, addTask("single", 8, TASK_PRIORITY_SINGLETON))
        << "the duplicate isn't looked at either";
    EXPECT_EQ(2, rows("table_task"));
    EXPECT_TRUE(store().hasTask("single"));
    EXPECT_FALSE(store().hasTask("another"));
    EXPECT_TRUE(store().hasTask(TASK_PRIORITY_SINGLETON));
    EXPECT_FALSE(store().hasTask(static_cast<TaskPriority>(99)));
    EXPECT_TRUE(store().hasTask(TASK_TYPE_FILE, TASK_STATUS_WAITING));
    EXPECT_FALSE(store().hasTask(TASK_TYPE_FILE, TASK_STATUS_TAKEN));
}

TEST_F(StoreTest, TasksAreHandedOutByPriorityThenAge) {
    addTask("late", 8, 2);
    addTask("other kind", 16, 0);
    addTask("first", 8, 1);
    addTask("second", 8, 1);
    std::vector<BaseTask> tasks(5);
    ASSERT_EQ(SQLITE_OK, store().getTask(tasks, 8, TASK_STATUS_WAITING, 2));
    EXPECT_THAT(idsOf(tasks), ElementsAre("first", "second"));
    EXPECT_EQ(TASK_STATUS_WAITING, tasks[0].getStatus()) << "as read";
    EXPECT_EQ(TASK_STATUS_TAKEN, statusOf("first"));
    EXPECT_EQ(TASK_STATUS_WAITING, statusOf("late"));
    BaseTask task;
    ASSERT_EQ(SQLITE_OK, store().getTask(task, 8 | 32, TASK_STATUS_WAITING));
    EXPECT_EQ("late", task.getTaskId());
    EXPECT_EQ(SQLITE_DONE, store().getTask(tasks, 8, TASK_STATUS_WAITING, 2));
    EXPECT_THAT(tasks, IsEmpty());
    EXPECT_EQ(SQLITE_DONE, store().getTask(tasks, 16, TASK_STATUS_WAITING, 0));
    ASSERT_EQ(SQLITE_OK, store().getTask(tasks, -1 & ~5, TASK_STATUS_TAKEN, -1))
        << "no limit, from another status";
    EXPECT_EQ(3U, tasks.size());
}

TEST_F(StoreTest, KindsOneAndFourAreServedUnmarkedWithTheCodeOfNoRow) {
    for (const int type : {1, 4}) {
        SCOPED_TRACE(type);
        const std::string id = "t" + std::to_string(type);
        addTask(id, type);
        std::vector<BaseTask> tasks;
        EXPECT_EQ(SQLITE_DONE, store().getTask(tasks, type | 8, TASK_STATUS_WAITING, 5));
        EXPECT_THAT(idsOf(tasks), ElementsAre(id));
        BaseTask task;
        EXPECT_EQ(SQLITE_DONE, store().getTask(task, type, TASK_STATUS_WAITING));
        EXPECT_EQ(id, task.getTaskId());
        EXPECT_EQ(TASK_STATUS_WAITING, statusOf(id));
    }
}

TEST_F(StoreTest, TasksThatCannotBeMarkedAreNotHandedOut) {
    addTask("t");
    refuse("UPDATE", "table_task");
    const LogCapture log;
    std::vector<BaseTask> tasks;
    EXPECT_EQ(SQLITE_CONSTRAINT, store().getTask(tasks, 8, TASK_STATUS_WAITING, 5));
    EXPECT_THAT(tasks, IsEmpty());
    EXPECT_EQ(1, log.count("W", "sqlite3 error. method=getTask,id=,errcode=19,errmsg=injected"));
    refuseNoMore();
    EXPECT_EQ(SQLITE_OK, store().getTask(tasks, 8, TASK_STATUS_WAITING, 5));
}

TEST_F(StoreTest, ListsOfTasks) {
    std::vector<BaseTask> tasks(3);
    EXPECT_EQ(SQLITE_DONE, store().getTask(8, tasks));
    EXPECT_THAT(tasks, IsEmpty()) << "an out-list is emptied first";
    addTask("once", 1, 9, QoS::qosOnlyOnce(0));
    addTask("timeout", 8, 1, QoS::qosRetryUtilTimeout(0));
    addTask("later", 8, 0, QoS::qosRetryUtilTimeout(1000));
    addTask("forever", 9, 1, QoS::qosRetryForever());
    EXPECT_EQ(SQLITE_OK, store().getTask(8, tasks));
    EXPECT_THAT(idsOf(tasks), ElementsAre("timeout", "later")) << "the exact type, oldest first";
    EXPECT_EQ(SQLITE_OK, store().getAllTask(8, TASK_STATUS_WAITING, tasks));
    EXPECT_EQ(3U, tasks.size()) << "a mask";
    EXPECT_EQ(SQLITE_DONE, store().getAllTask(8, TASK_STATUS_TAKEN, tasks));
    EXPECT_EQ(SQLITE_OK, store().getTask(tasks, QoS::qosRetryUtilTimeout(77)));
    EXPECT_THAT(idsOf(tasks), ElementsAre("timeout", "later")) << "by the level, not the parameter";
    EXPECT_EQ(SQLITE_DONE, store().getTask(tasks, QoS::qosRetryProcess()));
    EXPECT_EQ(SQLITE_OK, store().getTimeoutTask(tasks));
    EXPECT_THAT(idsOf(tasks), ElementsAre("once", "timeout")) << "reached counts as past";
}

TEST_F(StoreTest, UpdatesOfOneTask) {
    store().addTask("t", TASK_TYPE_FILE, QoS::qosOnlyOnce(5), TASK_PRIORITY_DEFAULT, "data", 17);
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(SQLITE_OK, store().updateTask("t", static_cast<TaskType>(32), "it's new", TASK_STATUS_TAKEN));
    BaseTask task;
    ASSERT_EQ(SQLITE_OK, store().getTask(task, "t"));
    EXPECT_EQ(32, task.getTaskType());
    EXPECT_EQ("it's new", std::as_const(task).getSerializedData());
    EXPECT_EQ(TASK_STATUS_TAKEN, task.getStatus());
    EXPECT_LE(before, task.getCreateTime()) << "its age starts anew";
    EXPECT_EQ(SQLITE_OK, store().updateTask("unknown", TASK_TYPE_FILE, "", TASK_STATUS_TAKEN));
    EXPECT_EQ(SQLITE_OK, store().updateTaskStatus("t", static_cast<TaskStatus>(-7)));
    EXPECT_EQ(-7, statusOf("t"));
    EXPECT_EQ(SQLITE_OK, store().updateTaskStatus(-7, 32, 9));
    EXPECT_EQ(9, statusOf("t"));
    EXPECT_EQ(SQLITE_OK, store().updateTaskStatus(9, 8, 10)) << "another kind";
    EXPECT_EQ(9, statusOf("t"));
    EXPECT_EQ(SQLITE_OK, store().resetTaskStatus());
    EXPECT_EQ(0, statusOf("t"));
    EXPECT_EQ(SQLITE_OK, store().deleteTask("t"));
    EXPECT_EQ(SQLITE_OK, store().deleteTask("t")) << "an absent id is success";
    EXPECT_EQ(-SQLITE_DONE, statusOf("t"));
}

TEST_F(StoreTest, ListOfStatusesChangesAsAWholeOrNot) {
    const std::vector<std::string> ids = {"a", "unknown", "b", "c"};
    for (const char* id : {"a", "b", "c"}) {
        addTask(id);
    }
    EXPECT_EQ(SQLITE_DONE, store().updateTaskStatus(std::vector<std::string>{}, TASK_STATUS_TAKEN, false));
    EXPECT_EQ(SQLITE_OK, store().updateTaskStatus(ids, TASK_STATUS_TAKEN, false));
    EXPECT_EQ(TASK_STATUS_TAKEN, statusOf("c"));
    refuse("UPDATE", "table_task", "NEW.task_id='c'");
    EXPECT_EQ(SQLITE_CONSTRAINT, store().updateTaskStatus(ids, TASK_STATUS_WAITING, false));
    EXPECT_EQ(TASK_STATUS_TAKEN, statusOf("a")) << "undone";
    store().sqlite3_begin_transaction();
    EXPECT_EQ(SQLITE_CONSTRAINT, store().updateTaskStatus(ids, TASK_STATUS_WAITING, true));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_commit_transaction()) << "the caller's transaction is the caller's";
    EXPECT_EQ(TASK_STATUS_WAITING, statusOf("a"));
    EXPECT_EQ(TASK_STATUS_TAKEN, statusOf("c"));
}

TEST_F(StoreTest, FilesAreQueuedOnceByTheirDigest) {
    const auto addFile = [&](const std::string& id, const std::string& md5, int priority = 1) {
        return store().addFileTask(id, TASK_TYPE_FILE, QoS::qosRetryForever(),
                                   static_cast<TaskPriority>(priority), "data", md5);
    };
    EXPECT_EQ(SQLITE_OK, addFile("a", "digest"));
    EXPECT_EQ(SQLITE_CONSTRAINT, addFile("b", "digest"));
    EXPECT_EQ(1, rows("table_task"));
    EXPECT_EQ(SQLITE_OK, store().deleteFileTaskInfo("a"));
    EXPECT_EQ(SQLITE_CONSTRAINT, addFile("a", "second digest")) << "the task is still there";
    EXPECT_EQ(0, rows("table_fileTaskInfo")) << "and the digest undone with it";
    EXPECT_EQ(SQLITE_OK, addFile("s", "s", TASK_PRIORITY_SINGLETON));
    EXPECT_EQ(SQLITE_OK, addFile("dropped", "kept", TASK_PRIORITY_SINGLETON));
    EXPECT_EQ("dropped", value("SELECT file_task_id FROM table_fileTaskInfo WHERE md5='kept'"));
    EXPECT_EQ(2, rows("table_task"));

    EXPECT_EQ(SQLITE_OK, store().updateFileTaskStatus("s", TASK_STATUS_FILE_DONE));
    EXPECT_EQ(TASK_STATUS_FILE_DONE, statusOf("s"));
    EXPECT_EQ("kept", value("SELECT md5 FROM table_fileTaskInfo"));
    EXPECT_EQ(SQLITE_OK, store().addFileTaskInfo("a", "again"));
    std::vector<BaseTask> tasks;
    EXPECT_EQ(SQLITE_DONE, store().getTaskAndUpdateStatus(8, TASK_STATUS_TAKEN, TASK_STATUS_WAITING, tasks));
    EXPECT_EQ(SQLITE_OK, store().getTaskAndUpdateStatus(8, TASK_STATUS_WAITING, TASK_STATUS_TAKEN, tasks));
    EXPECT_THAT(idsOf(tasks), ElementsAre("a"));
    EXPECT_EQ(TASK_STATUS_TAKEN, statusOf("a"));
    EXPECT_EQ("kept", value("SELECT md5 FROM table_fileTaskInfo")) << "freed for a new upload";
    EXPECT_EQ(SQLITE_OK, store().deleteAllFileTaskInfo());
    EXPECT_EQ(0, rows("table_fileTaskInfo"));
}

TEST_F(StoreTest, CompositesUndoTheirFirstStepsWhenALaterOneFails) {
    struct Row {
        const char* why;
        const char* event;
        const char* table;
        const char* line;
        std::function<int(Sqlite3Functions&)> operation;
    };
    std::vector<BaseTask> tasks;
    int count = 55;
    const Row rows[] = {
        {"sweepTask, the result", "INSERT", "table_result", "addResult. rc=19",
         [](auto& s) { return s.sweepTask("t", 1); }},
        {"sweepTask, the task", "DELETE", "table_task", "deleteTask. rc=19",
         [](auto& s) { return s.sweepTask("t", 1); }},
        {"sweepTasks, the result", "INSERT", "table_result", "addResult. rc=19",
         [](auto& s) { return s.sweepTasks({result("t")}); }},
        {"sweepFileTask, the result", "INSERT", "table_result", "addResult fail. rc=19",
         [](auto& s) { return s.sweepFileTask("t", 1, true); }},
        {"sweepFileTask, the digest", "DELETE", "table_fileTaskInfo", "deleteFileTaskInfo fail. rc=19",
         [](auto& s) { return s.sweepFileTask("t", 1, true); }},
        {"sweepFileTask, the task", "DELETE", "table_task", "deleteTask fail. rc=19",
         [](auto& s) { return s.sweepFileTask("t", 1, true); }},
        {"sweepFileTask, the status", "UPDATE", "table_task", "deleteTask fail. rc=19",
         [](auto& s) { return s.sweepFileTask("t", 1, false); }},
        {"updateFileTaskStatus, the digest", "DELETE", "table_fileTaskInfo", "deleteFileTaskInfo fail. rc=19",
         [](auto& s) { return s.updateFileTaskStatus("t", TASK_STATUS_TAKEN); }},
        {"updateFileTaskStatus, the status", "UPDATE", "table_task", "updateTaskStatus fail. rc=19",
         [](auto& s) { return s.updateFileTaskStatus("t", TASK_STATUS_TAKEN); }},
        {"getTaskAndUpdateStatus, the digest", "DELETE", "table_fileTaskInfo",
         "deleteFileTaskInfos fail. rc=19",
         [&](auto& s) { return s.getTaskAndUpdateStatus(8, TASK_STATUS_WAITING, TASK_STATUS_TAKEN, tasks); }},
        {"getTaskAndUpdateStatus, the status", "UPDATE", "table_task", "updateTaskStatus fail. rc=19",
         [&](auto& s) { return s.getTaskAndUpdateStatus(8, TASK_STATUS_WAITING, TASK_STATUS_TAKEN, tasks); }},
        {"sweepTimeoutTasks, the result", "INSERT", "table_result", "method=sweepTimeoutTasks",
         [&](auto& s) { return s.sweepTimeoutTasks(1, count); }},
        {"sweepTimeoutTasks, the task", "DELETE", "table_task", "method=sweepTimeoutTasks",
         [&](auto& s) { return s.sweepTimeoutTasks(1, count); }},
        {"sweepTaskWithQosRetryProcess, the digests", "DELETE", "table_fileTaskInfo",
         "deleteAllFileTaskInfo. rc=19", [](auto& s) { return s.sweepTaskWithQosRetryProcess(1); }},
    };
    store().addFileTask("t", TASK_TYPE_FILE, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT, "d", "digest");
    addTask("expired", 1, 1, QoS::qosRetryUtilTimeout(0));
    const LogCapture log;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        refuse(row.event, row.table);
        const std::ptrdiff_t before = log.count("W", row.line);
        // sweepTasks is the one that bears a failing delete, so only its insert is refused above
        EXPECT_EQ(SQLITE_CONSTRAINT, row.operation(store()));
        EXPECT_EQ(before + 1, log.count("W", row.line));
        refuseNoMore();
        EXPECT_THAT(values("SELECT task_id || status FROM table_task"), ElementsAre("t0", "expired0"));
        EXPECT_EQ("0", value("SELECT count(*) FROM table_result"));
        EXPECT_EQ("1", value("SELECT count(*) FROM table_fileTaskInfo"));
    }
    EXPECT_EQ(55, count) << "told on success only";
}

TEST_F(StoreTest, DeleteOfManyPassesOverWhatFails) {
    for (const char* id : {"a", "b", "c"}) {
        addTask(id);
    }
    refuse("DELETE", "table_task", "OLD.task_id='b'");
    const LogCapture log;
    EXPECT_EQ(SQLITE_OK, store().deleteTasks({result("a"), result("b"), result("c")}, true));
    EXPECT_EQ(1, log.count("W", "redeleteTasks failed. merrInfo=injected"));
    EXPECT_THAT(values("SELECT task_id FROM table_task"), ElementsAre("b"));
}

// ---- sweeps and results

TEST_F(StoreTest, SweepMovesATaskIntoItsResult) {
    addTask("own", 16, 1, QoS::qosOnlyOnce(1), "own data");
    addTask("given", 16);
    const LogCapture log;
    EXPECT_EQ(SQLITE_DONE, store().sweepTask("unknown", 5));
    EXPECT_EQ(1, log.count("W", "getTask. rc=101"));
    EXPECT_EQ(SQLITE_OK, store().sweepTask("own", -5));
    EXPECT_EQ(SQLITE_OK, store().sweepTask("given", 7, "it's given"));
    std::vector<BaseResult> results;
    ASSERT_EQ(SQLITE_OK, store().getResult(16, results));
    ASSERT_EQ(2U, results.size());
    EXPECT_EQ("own", results[0].getResultId());
    EXPECT_EQ("own data", results[0].getData());
    EXPECT_EQ(-5, results[0].getReturnCode());
    EXPECT_EQ("it's given", results[1].getData());
    EXPECT_EQ(RESULT_STATUS_STORED, results[1].getStatus());
    addTask("own", 16);
    EXPECT_EQ(SQLITE_CONSTRAINT, store().sweepTask("own", 0)) << "its first result is not delivered yet";
    EXPECT_EQ(TASK_STATUS_WAITING, statusOf("own"));
    EXPECT_EQ(SQLITE_OK, store().sweepTasks({result("own", 32), result("stranger", 32)}));
    EXPECT_EQ(0, rows("table_task"));
    EXPECT_EQ(4, rows("table_result"));
}

TEST_F(StoreTest, FileSweepFreesTheDigestAndMayKeepTheTask) {
    for (const char* id : {"kept", "gone"}) {
        store().addFileTask(id, TASK_TYPE_FILE, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT, id, id);
    }
    const LogCapture log;
    EXPECT_EQ(SQLITE_DONE, store().sweepFileTask("unknown", 1, true));
    EXPECT_EQ(1, log.count("W", "getTask empty. rc=101"));
    EXPECT_EQ(SQLITE_OK, store().sweepFileTask("kept", 1, std::string("data"), false));
    EXPECT_EQ(SQLITE_OK, store().sweepFileTask("gone", 2, true));
    EXPECT_EQ(TASK_STATUS_FILE_DONE, statusOf("kept"));
    EXPECT_EQ(0, rows("table_fileTaskInfo"));
    EXPECT_THAT(values("SELECT result_id, result_data, return_code FROM table_result"),
                ElementsAre("kept", "data", "1", "gone", "gone", "2"));
    EXPECT_EQ(1, rows("table_task"));
}

TEST_F(StoreTest, TimeoutSweepTakesExpiredTasksOfTypeOneAtLevelFour) {
    addTask("expired", 1, 1, QoS::qosRetryUtilTimeout(0), "its data");
    addTask("not yet", 1, 1, QoS::qosRetryUtilTimeout(1000));
    addTask("other level", 1, 1, QoS::qosOnlyOnce(0));
    addTask("other type", 8, 1, QoS::qosRetryUtilTimeout(0));
    addTask("more than type one", 9, 1, QoS::qosRetryUtilTimeout(0));
    int count = -1;
    EXPECT_EQ(SQLITE_OK, store().sweepTimeoutTasks(-812, count));
    EXPECT_EQ(1, count);
    EXPECT_THAT(values("SELECT result_id,type,result_data,return_code,status FROM table_result"),
                ElementsAre("expired", "1", "its data", "-812", "0"));
    EXPECT_EQ(4, rows("table_task"));
    EXPECT_EQ(SQLITE_OK, store().sweepTimeoutTasks(-812, count));
    EXPECT_EQ(0, count);

    // Nobody has taken the first one's result.
    for (const int code : {-812, -9}) {
        addTask("expired", 1, 1, QoS::qosRetryUtilTimeout(0), "again");
        addTask("goes on" + std::to_string(code), 1, 1, QoS::qosRetryUtilTimeout(0));
        EXPECT_EQ(SQLITE_OK, code == -9 ? store().sweepTaskWithQosRetryProcess(code)
                                        : store().sweepTimeoutTasks(code, count));
        EXPECT_EQ(1, rows("table_result WHERE result_id='goes on" + std::to_string(code) + "'"));
        EXPECT_EQ(1, rows("table_task WHERE task_id='expired'"));
        EXPECT_EQ(1, rows("table_result WHERE result_data='its data'"));
        store().deleteTask("expired");
    }
}

TEST_F(StoreTest, ProcessSweepLeavesForeverAndFiles) {
    const LogCapture log;
    store().addFileTaskInfo("f", "f");
    EXPECT_EQ(SQLITE_OK, store().sweepTaskWithQosRetryProcess(-9));
    EXPECT_EQ(1, log.count("I", "sweepNum=0"));
    EXPECT_EQ(0, rows("table_fileTaskInfo")) << "emptied also when there was nothing to sweep";
    addTask("forever", 16, 1, QoS::qosRetryForever());
    addTask("process", 16, 1, QoS::qosRetryProcess());
    addTask("once", 1, 1, QoS::qosOnlyOnce(1000));
    addTask("timeout", 16, 1, QoS::qosRetryUtilTimeout(1000));
    addTask("file", 8, 1, QoS::qosOnlyOnce(1000));
    EXPECT_EQ(SQLITE_OK, store().sweepTaskWithQosRetryProcess(-9));
    EXPECT_EQ(1, log.count("I", "sweepNum=3"));
    EXPECT_THAT(values("SELECT task_id FROM table_task ORDER BY id"), ElementsAre("forever", "file"));
    EXPECT_THAT(values("SELECT result_id FROM table_result WHERE return_code=-9 ORDER BY id"),
                ElementsAre("process", "once", "timeout"));
}

TEST_F(StoreTest, ResultsStayInOrderUntilTheyAreDeleted) {
    std::vector<std::shared_ptr<BaseResult>> messages(2);
    std::vector<BaseResult> files(2);
    int count = -1;
    EXPECT_EQ(SQLITE_DONE, store().getMessageResult(messages, 5));
    EXPECT_EQ(SQLITE_DONE, store().getResult(8, files));
    EXPECT_THAT(messages, IsEmpty());
    EXPECT_THAT(files, IsEmpty());
    EXPECT_EQ(SQLITE_OK, store().addResult(std::vector<BaseResult>{}, false));
    EXPECT_EQ(SQLITE_OK, store().addResult({result("b", 16), result("file"), result("a", 1, "it's")}, false));
    EXPECT_EQ(SQLITE_OK,
              store().addResult("b", RESULT_TYPE_EXPIRING, "", 3, static_cast<ResultStatus>(4), false));
    EXPECT_EQ(SQLITE_OK, store().getMessageResult(messages, 0));
    ASSERT_EQ(1U, messages.size()) << "a limit below one is one";
    EXPECT_EQ(SQLITE_OK, store().getMessageResult(messages, 5));
    ASSERT_EQ(3U, messages.size()) << "files are never among them";
    EXPECT_EQ("b", messages[0]->getResultId());
    EXPECT_EQ("it's", messages[1]->getData());
    EXPECT_EQ(3, messages[2]->getReturnCode());
    EXPECT_EQ(4, messages[2]->getStatus());
    EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(messages[2]->getCompleteTime()),
                30);
    EXPECT_EQ(SQLITE_OK, store().getMessageResultAmount(0, count));
    EXPECT_EQ(4, count) << "files are counted";
    EXPECT_EQ(SQLITE_OK, store().getMessageResultAmount(1, count));
    EXPECT_EQ(0, count);
    count = 77;
    EXPECT_EQ(SQLITE_MISUSE, store().getMessageResultAmount(2, count));
    EXPECT_EQ(77, count);
    EXPECT_EQ(SQLITE_OK, store().updateResultStatus("b", static_cast<ResultStatus>(6)));
    EXPECT_EQ("2", value("SELECT count(*) FROM table_result WHERE status=6")) << "all types of the id";
    EXPECT_EQ(SQLITE_OK, store().deleteResult("b", static_cast<ResultType>(16)));
    EXPECT_EQ(SQLITE_OK, store().deleteResult("b", static_cast<ResultType>(16))) << "gone is no failure";
    EXPECT_EQ(3, rows("table_result"));
}

TEST_F(StoreTest, ListOfResultsIsStoredAndDeletedAsAWholeOrNot) {
    EXPECT_EQ(SQLITE_OK, store().addResult(result("known"), false));
    EXPECT_EQ(SQLITE_CONSTRAINT, store().addResult({result("new"), result("known")}, false));
    EXPECT_EQ(1, rows("table_result"));
    store().sqlite3_begin_transaction();
    EXPECT_EQ(SQLITE_CONSTRAINT, store().addResult({result("new"), result("known")}, true));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_commit_transaction()) << "the caller's transaction is the caller's";
    EXPECT_EQ(2, rows("table_result"));
    refuse("DELETE", "table_result", "OLD.result_id='new'");
    EXPECT_EQ(SQLITE_CONSTRAINT,
              store().deleteResult({{"known", RESULT_TYPE_FILE}, {"new", RESULT_TYPE_FILE}}));
    EXPECT_EQ(2, rows("table_result"));
    refuseNoMore();
    EXPECT_EQ(SQLITE_OK, store().deleteResult({{"known", RESULT_TYPE_FILE}, {"new", RESULT_TYPE_FILE}}));
    EXPECT_EQ(0, rows("table_result"));
    std::vector<BaseResult> none;
    EXPECT_EQ(SQLITE_DONE, store().updateFileResultData(none));
}

// ---- many operations

// The queue as it should be: what a random stream of operations leaves behind is compared with it.
class QueueModel {
public:
    struct Task {
        int priority;
        int age;
        int status;
    };
    int add(const std::string& id, int priority) {
        return tasks.emplace(id, Task{priority, ++m_age, 0}).second ? SQLITE_OK : SQLITE_CONSTRAINT;
    }
    std::vector<std::string> take(std::size_t limit) {
        std::vector<std::pair<std::pair<int, int>, std::string>> waiting;
        for (const auto& [id, task] : tasks) {
            if (task.status == 0) {
                waiting.push_back({{task.priority, task.age}, id});
            }
        }
        std::sort(waiting.begin(), waiting.end());
        waiting.resize(std::min(limit, waiting.size()));
        std::vector<std::string> ids;
        for (const auto& entry : waiting) {
            tasks.at(entry.second).status = 1;
            ids.push_back(entry.second);
        }
        return ids;
    }
    int sweep(const std::string& id) {
        if (tasks.count(id) == 0) {
            return SQLITE_DONE;
        }
        if (!results.insert(id).second) {
            return SQLITE_CONSTRAINT;
        }
        tasks.erase(id);
        return SQLITE_OK;
    }

    std::map<std::string, Task> tasks;
    std::set<std::string> results;

private:
    int m_age = 0;
};

TEST_F(StoreTest, RandomOperationsAgreeWithASimpleModel) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&](int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); };
    QueueModel model;
    for (int step = 0; step < 600 && !HasFailure(); ++step) {
        const std::string id = "id" + std::to_string(upTo(30));
        switch (upTo(7)) {
            case 0:
            case 1: {
                const int priority = upTo(4);
                ASSERT_EQ(model.add(id, priority), addTask(id, 8, priority));
                break;
            }
            case 2: {
                std::vector<BaseTask> tasks;
                const int limit = upTo(4);
                const std::vector<std::string> expected = model.take(static_cast<std::size_t>(limit));
                ASSERT_EQ(expected.empty() ? SQLITE_DONE : SQLITE_OK,
                          store().getTask(tasks, 8, TASK_STATUS_WAITING, limit));
                ASSERT_EQ(expected, idsOf(tasks));
                break;
            }
            case 3:
                ASSERT_EQ(model.sweep(id), store().sweepTask(id, step));
                break;
            case 4:
                model.results.erase(id);
                ASSERT_EQ(SQLITE_OK, store().deleteResult(id, RESULT_TYPE_FILE));
                break;
            case 5:
                model.tasks.erase(id);
                ASSERT_EQ(SQLITE_OK, store().deleteTask(id));
                break;
            default:
                if (upTo(8) == 0) {
                    close();
                }
                if (upTo(8) == 0) {
                    ASSERT_EQ(SQLITE_OK, store().resetTaskStatus());
                    for (auto& entry : model.tasks) {
                        entry.second.status = 0;
                    }
                }
                ASSERT_EQ(model.tasks.count(id) == 1, store().hasTask(id));
        }
    }
    std::vector<std::string> expected;
    for (const auto& [id, task] : model.tasks) {
        expected.insert(expected.end(), {id, std::to_string(task.priority), std::to_string(task.status)});
    }
    EXPECT_EQ(expected, values("SELECT task_id, priority, status FROM table_task ORDER BY task_id"));
    EXPECT_EQ(std::vector<std::string>(model.results.begin(), model.results.end()),
              values("SELECT result_id FROM table_result ORDER BY result_id"));
}
