// What older files need at their first opening.
#include "vloxlib/database/FilePayload.h"
#include "vloxlib/database/Schema.h"
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

// A search in the table's CREATE text, not among its columns: any occurrence of the word counts.
bool Sqlite3Functions::checkColumnExists(const char* table, const char* column) {
    const std::string tableName = table;
    const std::string word = column;
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "checkColumnExists",
                        "select * from sqlite_master where tbl_name=? and sql like '%' || ? || '%';", table);
    statement.bind(tableName, word);
    return statement.fetchOne([](sqlite3_stmt*) {}) == SQLITE_OK;
}

void Sqlite3Functions::alterReceiveMsgIdTable() {
    if (checkColumnExists("table_seqid_messageid", "timestamp")) {
        return;
    }
    Sqlite3Guard lock(m_lock);
    std::string failure;
    if (m_connection->exec("alter table table_seqid_messageid add column timestamp INTEGER default(0)",
                           failure) != SQLITE_OK) {
        VLOX_LOG(3, "alter table_seqid_messageid failed for %s", failure.c_str());
    }
}

bool Sqlite3Functions::isNeedUpdateFileTable() {
    std::string version;
    return getValueByKey(kVersionKey, version) != SQLITE_OK || version != kVersion;
}

int Sqlite3Functions::updateFileTable() {
    updateFileResultTable();
    updateFileTaskTable();
    return SQLITE_OK;
}

int Sqlite3Functions::updateFileTaskTable() {
    std::vector<BaseTask> tasks;
    if (const int rc = getTask(TASK_TYPE_FILE, tasks); rc != SQLITE_OK) {
        VLOX_LOG(2, "no file task in table");
        return rc;
    }
    for (BaseTask& task : tasks) {
        if (!convertFilePayload(FileRow::TASK, task.m_data)) {
            VLOX_LOG(3, "parse json data fail");
            return -1;
        }
    }
    return updateFileTaskData(tasks, true);
}

int Sqlite3Functions::updateFileResultTable() {
    std::vector<BaseResult> results;
    if (const int rc = getResult(RESULT_TYPE_FILE, results); rc != SQLITE_OK) {
        VLOX_LOG(2, "no file result in table");
        return rc;
    }
    for (BaseResult& result : results) {
        if (!convertFilePayload(FileRow::RESULT, result.m_data)) {
            VLOX_LOG(3, "parse json data fail");
            return -1;
        }
    }
    return updateFileResultData(results, true);
}

}  // namespace vloxlib
