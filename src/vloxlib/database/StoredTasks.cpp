// The queue: storing, reading, changing and removing tasks.
#include <ctime>

#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"

#define TASK_COLUMNS "task_id,type,qos,qos_para,priority,task_data,status,create_time"

namespace vloxlib {

namespace {

// Tasks of these kinds are handed out without a change of their status.
constexpr int kUnmarkedKinds = TASK_TYPE_EXPIRING | TASK_TYPE_REPEATING;

}  // namespace

void Sqlite3Functions::setTaskFromStmt(BaseTask& task, sqlite3_stmt* statement) {
    readText(statement, 0, task.m_taskId);
    task.m_type = static_cast<TaskType>(sqlite3_column_int(statement, 1));
    task.m_qos = QoS::makeQos(static_cast<QoS::QoSLevel>(sqlite3_column_int(statement, 2)),
                              sqlite3_column_int(statement, 3));
    task.m_priority = static_cast<TaskPriority>(sqlite3_column_int(statement, 4));
    readText(statement, 5, task.m_data);
    task.m_status = static_cast<TaskStatus>(sqlite3_column_int(statement, 6));
    task.m_createTime = sqlite3_column_int64(statement, 7);
}

int Sqlite3Functions::readTasks(Statement& statement, std::vector<BaseTask>& tasks) {
    const int rc = statement.fetchAll([&](sqlite3_stmt* row) { setTaskFromStmt(tasks.emplace_back(), row); });
    if (rc != SQLITE_OK) {
        tasks.clear();
    }
    return rc;
}

int Sqlite3Functions::addTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                              const std::string& data) {
    return addTask(id, type, qos, priority, data, std::time(nullptr));
}

int Sqlite3Functions::addTask(const BaseTask& task) {
    return addTask(task.m_taskId, task.m_type, task.m_qos, task.m_priority, task.m_data, task.m_createTime);
}

int Sqlite3Functions::addTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                              const std::string& data, int64 createTime) {
    Sqlite3Guard lock(m_lock);
    if (priority == TASK_PRIORITY_SINGLETON && hasTask(TASK_PRIORITY_SINGLETON)) {
        return SQLITE_OK;
    }
    Statement statement(*m_connection, "addTask",
                        "INSERT INTO table_task (" TASK_COLUMNS ") VALUES (?,?,?,?,?,?,?,?);", id.c_str());
    statement.bind(id, type, qos.getQosLevel(), qos.getQosParameter(), priority, data, TASK_STATUS_WAITING,
                   createTime);
    return statement.run();
}

int Sqlite3Functions::addFileTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                                  const std::string& data, const std::string& md5) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = addFileTaskInfo(id, md5); rc != SQLITE_OK) {
        return rc;
    }
    if (const int rc = addTask(id, type, qos, priority, data); rc != SQLITE_OK) {
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

int Sqlite3Functions::addFileTaskInfo(const std::string& id, const std::string& md5) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "addFileTaskInfo",
                        "INSERT INTO table_fileTaskInfo(file_task_id,md5) VALUES (?,?);", id.c_str());
    statement.bind(id, md5);
    return statement.run();
}

// First the order, then the rows, so that no payload is sorted along.
int Sqlite3Functions::readWaiting(int typeMask, TaskStatus status, int limit, std::vector<BaseTask>& tasks) {
    std::vector<int64> rows;
    Statement order(*m_connection, "getTask",
                    "SELECT id FROM table_task WHERE type&?!=0 and status=? "
                    "ORDER BY priority ASC,id ASC LIMIT ?;");
    order.bind(typeMask, status, limit);
    if (const int rc =
            order.fetchAll([&](sqlite3_stmt* row) { rows.push_back(sqlite3_column_int64(row, 0)); });
        rc != SQLITE_OK) {
        return rc;
    }
    for (const int64 row : rows) {
        Statement statement(*m_connection, "getTask", "SELECT " TASK_COLUMNS " FROM table_task WHERE id=?;");
        statement.bind(row);
        if (const int rc = readTasks(statement, tasks); rc != SQLITE_OK) {
            return rc;
        }
    }
    return SQLITE_OK;
}

int Sqlite3Functions::getTask(std::vector<BaseTask>& tasks, int typeMask, TaskStatus status, int limit) {
    Sqlite3Guard lock(m_lock);
    tasks.clear();
    if (const int rc = readWaiting(typeMask, status, limit, tasks); rc != SQLITE_OK) {
        return rc;
    }
    if ((typeMask & kUnmarkedKinds) != 0) {
        return SQLITE_DONE;
    }
    Statement statement(*m_connection, "getTask",
                        "UPDATE table_task SET status=? WHERE task_id IN (SELECT task_id FROM table_task "
                        "WHERE type&?!=0 and status=? ORDER BY priority ASC,id ASC LIMIT ?);");
    statement.bind(TASK_STATUS_TAKEN, typeMask, status, limit);
    const int rc = statement.run();
    if (rc != SQLITE_OK) {
        tasks.clear();
    }
    return rc;
}

int Sqlite3Functions::getTask(BaseTask& task, int typeMask, TaskStatus status) {
    std::vector<BaseTask> tasks;
    const int rc = getTask(tasks, typeMask, status, 1);
    if (!tasks.empty()) {
        task = std::move(tasks.front());
    }
    return rc;
}

int Sqlite3Functions::getTask(BaseTask& task, const std::string& id) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getTask", "SELECT " TASK_COLUMNS " FROM table_task WHERE task_id=?;",
                        id.c_str());
    statement.bind(id);
    return statement.fetchOne([&](sqlite3_stmt* row) { setTaskFromStmt(task, row); });
}

int Sqlite3Functions::getTask(std::vector<BaseTask>& tasks, QoS qos) {
    Sqlite3Guard lock(m_lock);
    tasks.clear();
    Statement statement(*m_connection, "getTask",
                        "SELECT " TASK_COLUMNS " FROM table_task WHERE qos=? ORDER BY id ASC;");
    statement.bind(qos.getQosLevel());
    return readTasks(statement, tasks);
}

int Sqlite3Functions::getTask(int type, std::vector<BaseTask>& tasks) {
    Sqlite3Guard lock(m_lock);
    tasks.clear();
    Statement statement(*m_connection, "getTask",
                        "SELECT " TASK_COLUMNS " FROM table_task WHERE type=? ORDER BY id ASC;");
    statement.bind(type);
    return readTasks(statement, tasks);
}

int Sqlite3Functions::getAllTask(int typeMask, TaskStatus status, std::vector<BaseTask>& tasks) {
    Sqlite3Guard lock(m_lock);
    tasks.clear();
    Statement statement(*m_connection, "getAllTask",
                        "SELECT " TASK_COLUMNS " FROM table_task WHERE type&?!=0 and status=?;");
    statement.bind(typeMask, status);
    return readTasks(statement, tasks);
}

int Sqlite3Functions::getTimeoutTask(std::vector<BaseTask>& tasks) {
    Sqlite3Guard lock(m_lock);
    tasks.clear();
    Statement statement(*m_connection, "getTimeoutTask",
                        "SELECT " TASK_COLUMNS
                        " FROM table_task WHERE (qos IN (3,4)) AND "
                        "((strftime('%s', 'now') - create_time) >= qos_para) ORDER BY id ASC;");
    return readTasks(statement, tasks);
}

int Sqlite3Functions::getTaskStatus(const std::string& id, TaskStatus& status) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getTaskStatus", "SELECT status FROM table_task WHERE task_id=?;",
                        id.c_str());
    statement.bind(id);
    return statement.fetchOne(
        [&](sqlite3_stmt* row) { status = static_cast<TaskStatus>(sqlite3_column_int(row, 0)); });
}

bool Sqlite3Functions::isCounted(Statement& statement, bool whenUnprepared) {
    bool counted = statement.prepared() != SQLITE_OK && whenUnprepared;
    statement.fetchOne([&](sqlite3_stmt* row) { counted = sqlite3_column_int64(row, 0) > 0; });
    return counted;
}

bool Sqlite3Functions::hasTask(const std::string& id) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "hasTask", "SELECT count(*) FROM table_task WHERE task_id=?;",
                        id.c_str());
    statement.bind(id);
    return isCounted(statement, true);
}

bool Sqlite3Functions::hasTask(TaskPriority priority) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "hasTask", "SELECT count(*) FROM table_task WHERE priority=?;");
    statement.bind(priority);
    return isCounted(statement, true);
}

bool Sqlite3Functions::hasTask(TaskType type, TaskStatus status) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "hasTask",
                        "SELECT count(*) FROM table_task WHERE type=? AND status=?;");
    statement.bind(type, status);
    return isCounted(statement, true);
}

int Sqlite3Functions::updateTask(const std::string& id, TaskType type, const std::string& data,
                                 TaskStatus status) {
    Sqlite3Guard lock(m_lock);
    Statement statement(
        *m_connection, "updateTask",
        "UPDATE table_task SET type=?, task_data=?, status=?, create_time=strftime('%s', 'now') "
        "WHERE task_id=?;",
        id.c_str());
    statement.bind(type, data, status, id);
    return statement.run();
}

int Sqlite3Functions::updateTaskStatus(const std::string& id, TaskStatus status) {
    return updateTaskStatus(std::vector<std::string>{id}, status, true);
}

int Sqlite3Functions::updateTaskStatus(const std::vector<std::string>& ids, TaskStatus status,
                                       bool inTransaction) {
    if (ids.empty()) {
        return SQLITE_DONE;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection, !inTransaction);
    Statement statement(*m_connection, "updateTaskStatus",
                        "UPDATE table_task SET status=? WHERE task_id IN (?);");
    if (statement.prepared() != SQLITE_OK) {
        transaction.leaveOpen();
        return statement.prepared();
    }
    const int rc = statement.runForEach(ids, [&](const std::string& id) { statement.bind(status, id); });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::updateTaskStatus(int fromStatus, int typeMask, int toStatus) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "updateTaskStatus",
                        "UPDATE table_task SET status=? WHERE type&?!=0 and status=?;");
    statement.bind(toStatus, typeMask, fromStatus);
    return statement.run();
}

int Sqlite3Functions::updateFileTaskStatus(const std::string& id, TaskStatus status) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = deleteFileTaskInfo(id); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteFileTaskInfo fail. rc=%d", rc);
        return rc;
    }
    if (const int rc = updateTaskStatus(id, status); rc != SQLITE_OK) {
        VLOX_LOG(3, "updateTaskStatus fail. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

int Sqlite3Functions::getTaskAndUpdateStatus(int typeMask, TaskStatus from, TaskStatus to,
                                             std::vector<BaseTask>& tasks) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = getAllTask(typeMask, from, tasks); rc != SQLITE_OK) {
        return rc;
    }
    if (const int rc = deleteFileTaskInfos(from, typeMask); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteFileTaskInfos fail. rc=%d", rc);
        return rc;
    }
    if (const int rc = updateTaskStatus(from, typeMask, to); rc != SQLITE_OK) {
        VLOX_LOG(3, "updateTaskStatus fail. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

int Sqlite3Functions::resetTaskStatus() {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "resetTaskStatus", "UPDATE table_task SET status=0;");
    return statement.run();
}

int Sqlite3Functions::updateFileTaskData(std::vector<BaseTask>& tasks) {
    return updateFileTaskData(tasks, false);
}

int Sqlite3Functions::updateFileTaskData(const std::vector<BaseTask>& tasks, bool inTransaction) {
    if (tasks.empty()) {
        return SQLITE_DONE;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection, !inTransaction);
    Statement statement(*m_connection, "updateFileTaskData",
                        "UPDATE table_task SET task_data=? WHERE task_id IN (?);");
    if (statement.prepared() != SQLITE_OK) {
        transaction.leaveOpen();
        return statement.prepared();
    }
    const int rc = statement.runForEach(
        tasks, [&](const BaseTask& task) { statement.bind(task.getSerializedData(), task.getTaskId()); });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::deleteTask(const std::string& id) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteTask", "DELETE FROM table_task WHERE task_id=?;", id.c_str());
    statement.bind(id);
    return statement.run();
}

int Sqlite3Functions::deleteTasks(const std::vector<BaseResult>& results, bool ownTransaction) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "DELETE FROM table_task WHERE task_id=?;");
    if (statement.prepared() != SQLITE_OK) {
        VLOX_LOG(3, "deleteTasks failed. rc = %d errInfo=%s", statement.prepared(),
                 m_connection->errorText());
    }
    Transaction transaction(*m_connection, ownTransaction);
    statement.runForEach(
        results, [&](const BaseResult& result) { statement.bind(result.getResultId()); },
        [&](const BaseResult&) {
            VLOX_LOG(3, "redeleteTasks failed. merrInfo=%s", m_connection->errorText());
            return true;
        });
    transaction.commitAndReportSuccess();
    return statement.prepared();
}

int Sqlite3Functions::deleteFileTaskInfo(const std::string& id) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteFileTaskInfo",
                        "DELETE FROM table_fileTaskInfo WHERE file_task_id=?;", id.c_str());
    statement.bind(id);
    return statement.run();
}

int Sqlite3Functions::deleteFileTaskInfos(int status, int typeMask) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteFileTaskInfos",
                        "DELETE FROM table_fileTaskInfo WHERE file_task_id IN "
                        "(SELECT task_id FROM table_task WHERE type&?!=0 and status=?)");
    statement.bind(typeMask, status);
    return statement.run();
}

int Sqlite3Functions::deleteAllFileTaskInfo() {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "DELETE FROM table_fileTaskInfo");
    const int rc = statement.run();
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "sqlite3 error. rc=%d,errmsg=%s", rc, m_connection->errorText());
    }
    return rc;
}

}  // namespace vloxlib
