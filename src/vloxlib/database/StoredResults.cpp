// Results, and the sweeps that turn tasks into them.
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"

#define RESULT_COLUMNS "result_id,type,result_data,return_code,status,complete_time"
#define INSERT_RESULT \
    "INSERT INTO table_result (result_id,type,result_data,return_code,status) VALUES (?,?,?,?,?);"

namespace vloxlib {

void Sqlite3Functions::setResultFromStmt(BaseResult& result, sqlite3_stmt* statement) {
    readText(statement, 0, result.m_resultId);
    result.m_type = static_cast<ResultType>(sqlite3_column_int(statement, 1));
    readText(statement, 2, result.m_data);
    result.m_returnCode = sqlite3_column_int(statement, 3);
    result.m_status = static_cast<ResultStatus>(sqlite3_column_int(statement, 4));
    result.m_completeTime = sqlite3_column_int64(statement, 5);
}

// Nothing here copies a payload: it may be large.
int Sqlite3Functions::addResult(const std::string& id, ResultType type, const std::string& data,
                                int returnCode, ResultStatus status, bool inTransaction) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "addResult", INSERT_RESULT);
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    Transaction transaction(*m_connection, !inTransaction);
    statement.bind(id, type, data, returnCode, status);
    const int rc = statement.run();
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::addResult(const BaseResult& result, bool inTransaction) {
    return addResult(result.m_resultId, result.m_type, result.m_data, result.m_returnCode, result.m_status,
                     inTransaction);
}

int Sqlite3Functions::addResult(const std::vector<BaseResult>& results, bool inTransaction) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "addResult", INSERT_RESULT);
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    Transaction transaction(*m_connection, !inTransaction);
    const int rc = statement.runForEach(results, [&](const BaseResult& result) {
        statement.bind(result.getResultId(), result.getType(), result.getData(), result.getReturnCode(),
                       result.getStatus());
    });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::getResult(int type, std::vector<BaseResult>& results) {
    Sqlite3Guard lock(m_lock);
    results.clear();
    Statement statement(*m_connection, "getResult",
                        "SELECT " RESULT_COLUMNS " FROM table_result WHERE type=? ORDER BY id ASC;");
    statement.bind(type);
    return statement.fetchAll([&](sqlite3_stmt* row) { setResultFromStmt(results.emplace_back(), row); });
}

int Sqlite3Functions::getMessageResult(std::vector<std::shared_ptr<BaseResult>>& results, int limit) {
    Sqlite3Guard lock(m_lock);
    results.clear();
    Statement statement(*m_connection, "getMessageResult",
                        "SELECT " RESULT_COLUMNS " FROM table_result WHERE type!=? ORDER BY id ASC LIMIT ?;");
    statement.bind(RESULT_TYPE_FILE, limit < 1 ? 1 : limit);
    return statement.fetchAll([&](sqlite3_stmt* row) {
        results.push_back(std::make_shared<BaseResult>());
        setResultFromStmt(*results.back(), row);
    });
}

int Sqlite3Functions::getMessageResultAmount(int table, int& count) {
    const char* sql = nullptr;  // which SQLite refuses
    if (table == 0) {
        sql = "SELECT count(*) FROM table_result;";
    } else if (table == 1) {
        sql = "SELECT count(*) FROM table_local_msg;";
    }
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getMessageResultAmount", sql);
    return statement.fetchOne([&](sqlite3_stmt* row) { count = sqlite3_column_int(row, 0); });
}

int Sqlite3Functions::updateResultStatus(const std::string& id, ResultStatus status) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "updateResultStatus",
                        "UPDATE table_result SET status=? WHERE result_id=?;", id.c_str());
    statement.bind(status, id);
    return statement.run();
}

int Sqlite3Functions::deleteResult(const std::string& id, ResultType type) {
    return deleteResult(std::vector<std::pair<std::string, ResultType>>{{id, type}});
}

int Sqlite3Functions::deleteResult(const std::vector<std::pair<std::string, ResultType>>& results) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteResult",
                        "DELETE FROM table_result WHERE result_id=? AND type=?;");
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    Transaction transaction(*m_connection);
    const int rc = statement.runForEach(
        results, [&](const auto& idAndType) { statement.bind(idAndType.first, idAndType.second); });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::updateFileResultData(std::vector<BaseResult>& results) {
    return updateFileResultData(results, false);
}

int Sqlite3Functions::updateFileResultData(const std::vector<BaseResult>& results, bool inTransaction) {
    if (results.empty()) {
        return SQLITE_DONE;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection, !inTransaction);
    Statement statement(*m_connection, "updateFileResultData",
                        "UPDATE table_result SET result_data=? WHERE result_id IN (?);");
    if (statement.prepared() != SQLITE_OK) {
        transaction.leaveOpen();
        return statement.prepared();
    }
    const int rc = statement.runForEach(
        results, [&](const BaseResult& result) { statement.bind(result.getData(), result.getResultId()); });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::sweepTask(const std::string& id, int returnCode) {
    return sweepTask(id, returnCode, std::string());
}

int Sqlite3Functions::sweepTask(const std::string& id, int returnCode, const std::string& data) {
    BaseTask task;
    if (const int rc = getSweptTask(task, id, data); rc != SQLITE_OK) {
        VLOX_LOG(3, "getTask. rc=%d", rc);
        return rc;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = addSweptResult(task, returnCode, data); rc != SQLITE_OK) {
        VLOX_LOG(3, "addResult. rc=%d", rc);
        return rc;
    }
    if (const int rc = deleteTask(id); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteTask. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

// The task's payload is read only where it becomes the result's.
int Sqlite3Functions::getSweptTask(BaseTask& task, const std::string& id, const std::string& data) {
    if (data.empty()) {
        return getTask(task, id);
    }
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getTask", "SELECT task_id,type FROM table_task WHERE task_id=?;",
                        id.c_str());
    statement.bind(id);
    return statement.fetchOne([&](sqlite3_stmt* row) {
        readText(row, 0, task.m_taskId);
        task.m_type = static_cast<TaskType>(sqlite3_column_int(row, 1));
    });
}

int Sqlite3Functions::addSweptResult(const BaseTask& task, int returnCode, const std::string& data) {
    return addResult(task.m_taskId, static_cast<ResultType>(task.m_type), data.empty() ? task.m_data : data,
                     returnCode, RESULT_STATUS_STORED, true);
}

int Sqlite3Functions::sweepTasks(const std::vector<BaseResult>& results) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = addResult(results, true); rc != SQLITE_OK) {
        VLOX_LOG(3, "addResult. rc=%d", rc);
        return rc;
    }
    if (const int rc = deleteTasks(results, false); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteTask. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

int Sqlite3Functions::sweepFileTask(const std::string& id, int returnCode, bool removeTask) {
    return sweepFileTask(id, returnCode, std::string(), removeTask);
}

int Sqlite3Functions::sweepFileTask(const std::string& id, int returnCode, const std::string& data,
                                    bool removeTask) {
    BaseTask task;
    if (const int rc = getSweptTask(task, id, data); rc != SQLITE_OK) {
        VLOX_LOG(3, "getTask empty. rc=%d", rc);
        return rc;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (const int rc = addSweptResult(task, returnCode, data); rc != SQLITE_OK) {
        VLOX_LOG(3, "addResult fail. rc=%d", rc);
        return rc;
    }
    if (const int rc = deleteFileTaskInfo(id); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteFileTaskInfo fail. rc=%d", rc);
        return rc;
    }
    const int rc = removeTask ? deleteTask(id) : updateTaskStatus(id, TASK_STATUS_FILE_DONE);
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteTask fail. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

int Sqlite3Functions::moveSelected(const char* method, const char* insertSql, const char* deleteSql,
                                   int returnCode, int& count) {
    Statement insert(*m_connection, method, insertSql);
    insert.bind(returnCode);
    if (const int rc = insert.run(); rc != SQLITE_OK) {
        return rc;
    }
    const int inserted = sqlite3_changes(m_connection->handle());
    Statement remove(*m_connection, method, deleteSql);
    remove.bind(inserted);
    const int rc = remove.run();
    if (rc == SQLITE_OK) {
        count = sqlite3_changes(m_connection->handle());
    }
    return rc;
}

// A task whose id and kind have a result that nobody has taken yet stays behind; the others don't wait for
// it.
#define INSERT_RESULTS_OF_TASKS(condition)                                                    \
    "INSERT INTO table_result (result_id,type,result_data,return_code,status) "               \
    "SELECT table_task.task_id, table_task.type, table_task.task_data, ?, 0 FROM table_task " \
    "WHERE " condition                                                                        \
    " AND NOT EXISTS (SELECT 1 FROM table_result WHERE result_id=task_id "                    \
    "AND table_result.type=table_task.type) ORDER BY id ASC;"

// Only what the insert took, which are the last results: a task whose second strikes between the two is the
// next sweep's.
#define DELETE_TASKS_WITH_RESULTS(condition)                         \
    "DELETE FROM table_task WHERE " condition                        \
    " AND EXISTS (SELECT 1 FROM table_result "                       \
    "WHERE result_id=task_id AND table_result.type=table_task.type " \
    "AND table_result.id > (SELECT MAX(id) FROM table_result) - ?);"

#define EXPIRED "type=1 AND qos=4 AND ((strftime('%s', 'now') - create_time) >= qos_para)"
#define ENDS_WITH_THE_PROCESS "type!=8 and qos IN (2,3,4)"

int Sqlite3Functions::sweepTimeoutTasks(int returnCode, int& count) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    const int rc = moveSelected("sweepTimeoutTasks", INSERT_RESULTS_OF_TASKS(EXPIRED),
                                DELETE_TASKS_WITH_RESULTS(EXPIRED), returnCode, count);
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::sweepTaskWithQosRetryProcess(int returnCode) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    int count = 0;
    if (const int rc =
            moveSelected("sweepTaskWithQosRetryProcess", INSERT_RESULTS_OF_TASKS(ENDS_WITH_THE_PROCESS),
                         DELETE_TASKS_WITH_RESULTS(ENDS_WITH_THE_PROCESS), returnCode, count);
        rc != SQLITE_OK) {
        return rc;
    }
    VLOX_LOG(2, "sweepNum=%d", count);
    if (const int rc = deleteAllFileTaskInfo(); rc != SQLITE_OK) {
        VLOX_LOG(3, "deleteAllFileTaskInfo. rc=%d", rc);
        return rc;
    }
    return transaction.commitAndReportSuccess();
}

}  // namespace vloxlib
