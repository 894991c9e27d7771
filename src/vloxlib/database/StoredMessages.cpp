// The bookkeeping of messages: sequence numbers, ids seen and sent, commands, group versions, held messages.
#include <cstdint>
#include <cstring>

#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/database/Statement.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

const char* text(const char* nullable) { return nullable != nullptr ? nullable : ""; }

// The presence tests know an id only as it would stand in a statement of 512 bytes with the id pasted in: one
// that would break that statement, or not fit, is never found, though it may be stored.
bool isAskable(const char* statementBeforeId, const char* id) {
    constexpr std::size_t kStatementSize = 512;
    return id != nullptr && std::strchr(id, '\'') == nullptr &&
           std::strlen(statementBeforeId) + std::strlen(id) + std::strlen("'") < kStatementSize;
}

std::string presenceSql(int table, std::size_t ids) {
    std::string sql;
    if (table == 0) {
        sql = "select msgid from table_seqid_messageid where msgid ";
    } else if (table == 1) {
        sql = "select msgid from table_send_failed_msgs where msgid ";
    }
    sql += "in(?";
    for (std::size_t id = 1; id < ids; ++id) {
        sql += ",?";
    }
    return sql + ")";
}

}  // namespace

// ---- sequence numbers

int64 Sqlite3Functions::getSeqID(int priority) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "select * from table_seqid where priority=?");
    statement.bind(priority);
    int64 seqId = -1;
    // Only the low 32 bits come back, with their sign.
    const int rc = statement.fetchOne([&](sqlite3_stmt* row) {
        seqId = static_cast<std::int32_t>(static_cast<std::uint32_t>(sqlite3_column_int64(row, 1)));
    });
    if (rc != SQLITE_OK && rc != SQLITE_DONE) {
        VLOX_LOG(4, "get seqID failed for %s", m_connection->errorText());
    }
    return seqId;
}

bool Sqlite3Functions::retain(int64 seqId, int priority) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "retain", "REPLACE INTO table_seqid (seqid, priority) VALUES(?, ?);");
    statement.bind(seqId, priority);
    return statement.run() == SQLITE_OK;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature that modules link against
bool Sqlite3Functions::retainSeqId(std::map<int, int64> seqIds) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "update table_seqid set seqid=? where priority=?");
    if (statement.prepared() != SQLITE_OK) {
        VLOX_LOG(3, "retain seqId to db failed. rc = %d errInfo=%s", statement.prepared(),
                 m_connection->errorText());
        return false;
    }
    Transaction transaction(*m_connection);
    const int rc = statement.runForEach(
        seqIds, [&](const auto& classAndId) { statement.bind(classAndId.second, classAndId.first); });
    if (rc != SQLITE_OK) {
        m_connection->logFailure("retainSeqId", "");
        return false;
    }
    transaction.commitAndReportSuccess();
    return true;
}

// ---- ids of received messages

bool Sqlite3Functions::isMsgIDExist(const char* msgId) {
    if (!isAskable("select count(*) from table_seqid_messageid where msgid='", msgId)) {
        return false;
    }
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "isMsgIDExist",
                        "select count(*) from table_seqid_messageid where msgid=?", msgId);
    statement.bind(msgId);
    return isCounted(statement, false);
}

bool Sqlite3Functions::retainMsgID(int64 from, const char* msgId, int64 timestamp) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr,
                        "insert into table_seqid_messageid(vloxid, msgid, timestamp) values(?, ?, ?)");
    statement.bind(from, msgId, timestamp);
    if (statement.run() != SQLITE_OK) {
        VLOX_LOG(3, "retain msgID to db failed. from=%lld,msgID=%s", from, text(msgId));
        return false;
    }
    return true;
}

bool Sqlite3Functions::retainMsgID(std::map<std::string, int64>& msgIdToTimestamp, bool inTransaction) {
    if (msgIdToTimestamp.empty()) {
        return true;
    }
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection, !inTransaction);
    Statement statement(*m_connection, nullptr,
                        "insert into table_seqid_messageid(vloxid, msgid, timestamp) values(?, ?,?)");
    if (statement.prepared() != SQLITE_OK) {
        // Odd, but the contract: this failure reads as success, and nobody ends the transaction.
        VLOX_LOG(4, "retainMsgID error.");
        transaction.leaveOpen();
        return true;
    }
    std::string failed;
    const int rc = statement.runForEach(
        msgIdToTimestamp,
        [&](const auto& idAndTime) { statement.bind(0, idAndTime.first, idAndTime.second); },
        [&](const auto& idAndTime) {
            failed = idAndTime.first;
            return false;
        });
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "Batch retainMsgID failed. result=%d,msgId=%s", rc, failed.c_str());
        if (!inTransaction) {
            m_connection->rollback();
        }
    }
    // Behind a rollback too, as the contract has it: all that comes of it then is the line in the log which
    // says that there is nothing to commit.
    transaction.commitAndReportSuccess();
    return rc == SQLITE_OK;
}

// ---- ids of sent messages

bool Sqlite3Functions::isMsgIDExistInSending(const char* msgId) {
    if (!isAskable("select count(*) from table_send_failed_msgs where  msgid='", msgId)) {
        return false;
    }
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "isMsgIDExistInSending",
                        "select count(*) from table_send_failed_msgs where  msgid=?", msgId);
    statement.bind(msgId);
    return isCounted(statement, false);
}

void Sqlite3Functions::retainSendMsgID(const char* msgId) {
    Sqlite3Guard lock(m_lock);
    if (isMsgIDExistInSending(msgId)) {
        return;
    }
    Statement statement(*m_connection, nullptr, "insert into table_send_failed_msgs(msgid) values(?)");
    statement.bind(msgId);
    if (statement.run() != SQLITE_OK) {
        VLOX_LOG(3, "retain msgID to db failed. msgID=%s,errInfo=%s", text(msgId), m_connection->errorText());
    }
}

void Sqlite3Functions::retainSendMsgIDs(std::vector<std::string>& msgIds) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "insert into table_send_failed_msgs(msgid) values(?)");
    if (statement.prepared() != SQLITE_OK) {
        VLOX_LOG(3, "retain msgID to db failed. rc = %d errInfo=%s", statement.prepared(),
                 m_connection->errorText());
    }
    Transaction transaction(*m_connection);
    statement.runForEach(
        msgIds, [&](const std::string& msgId) { statement.bind(msgId); },
        [&](const std::string& msgId) {
            VLOX_LOG(3, "retain msgID to db failed. msgID=%s,errInfo=%s", msgId.c_str(),
                     m_connection->errorText());
            return true;
        });
    transaction.commitAndReportSuccess();
}

// ---- presence of many

int Sqlite3Functions::batchCheckExist(const std::unordered_map<std::string, int>& receivedIds,
                                      const std::unordered_map<std::string, int>& sentIds,
                                      std::vector<int>& found) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    batchCheckExistInSendorRecvTable(0, receivedIds, found);
    const int rc = batchCheckExistInSendorRecvTable(1, sentIds, found);
    transaction.commitAndReportSuccess();
    return rc;
}

int Sqlite3Functions::batchCheckExistInSendorRecvTable(int table,
                                                       const std::unordered_map<std::string, int>& ids,
                                                       std::vector<int>& found) {
    if (ids.empty()) {
        return SQLITE_OK;
    }
    Sqlite3Guard lock(m_lock);
    const std::string sql = presenceSql(table, ids.size());
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(m_connection->handle(), sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
        return -1;
    }
    const SqliteStatement owned(prepared);  // not cached: its text differs with the number of ids
    int index = 0;
    for (const auto& entry : ids) {
        const std::string& id = entry.first;
        sqlite3_bind_text64(prepared, ++index, id.data(), id.size(), SQLITE_STATIC, SQLITE_UTF8);
    }
    std::string id;
    while (sqlite3_step(prepared) == SQLITE_ROW) {
        readText(prepared, 0, id);
        const auto asked = ids.find(id);
        if (asked != ids.end() && asked->second >= 0 &&
            static_cast<std::size_t>(asked->second) < found.size()) {
            found[static_cast<std::size_t>(asked->second)] = 1;
        }
    }
    return SQLITE_OK;
}

// ---- commands

#define INSERT_COMMAND \
    "into table_msg_cmd(cmdMessageId, messageId, status, fromVloxId, tos, groupid) values(?, ?, ?, ?, ?, ?)"

bool Sqlite3Functions::retainCMDInfo(CMDInfoItem& item) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "insert " INSERT_COMMAND);
    statement.bind(item.m_cmdMessageId, item.m_messageId, item.m_status, item.m_from, item.m_tos,
                   item.m_groupId);
    const int rc = statement.run();
    if (rc != SQLITE_OK) {
        VLOX_LOG(3, "retain CMDInfoItem to db failed. result=%d,errInfo=%s", rc, m_connection->errorText());
    }
    return rc == SQLITE_OK;
}

int Sqlite3Functions::retainCMDInfo(CMDInfoItemSet& items, bool inTransaction) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "retainCMDInfo", "insert or ignore " INSERT_COMMAND);
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    std::vector<const CMDInfoItem*> present;
    for (const std::shared_ptr<CMDInfoItem>& item : items) {
        if (item != nullptr) {
            present.push_back(item.get());
        }
    }
    Transaction transaction(*m_connection, !inTransaction);
    const int rc = statement.runForEach(present, [&](const CMDInfoItem* item) {
        statement.bind(item->m_cmdMessageId, item->m_messageId, item->m_status, item->m_from, item->m_tos,
                       item->m_groupId);
    });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

bool Sqlite3Functions::deleteCMDInfo(CMDInfoItem& item) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteCMDInfo", "DELETE FROM table_msg_cmd WHERE cmdMessageId=?;",
                        item.m_cmdMessageId.c_str());
    statement.bind(item.m_cmdMessageId);
    statement.run();
    return true;
}

std::vector<std::shared_ptr<CMDInfoItem>> Sqlite3Functions::getAllStatusMsg() {
    std::vector<std::shared_ptr<CMDInfoItem>> items;
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, nullptr, "SELECT * FROM table_msg_cmd");
    const int rc = statement.fetchAll([&](sqlite3_stmt* row) {
        auto item = std::make_shared<CMDInfoItem>();
        readText(row, 0, item->m_cmdMessageId);
        readText(row, 1, item->m_messageId);
        item->m_status = sqlite3_column_int(row, 2);
        readText(row, 3, item->m_from);
        readText(row, 4, item->m_tos);
        readText(row, 5, item->m_groupId);
        items.push_back(std::move(item));
    });
    if (rc != SQLITE_OK && rc != SQLITE_DONE) {
        VLOX_LOG(3, "get CMDInfoItem failed. errInfo=%s", m_connection->errorText());
    }
    return items;
}

// ---- groups

int Sqlite3Functions::addGroupVersionInfos(const std::vector<GroupMsgInfo>& infos, bool inTransaction) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection, !inTransaction);
    Statement statement(
        *m_connection, "addGroupVersionInfos",
        "INSERT OR IGNORE INTO table_groupVersionInfo (messageId,groupVersion,groupMemberCount) "
        "VALUES (?,?,?);");
    if (statement.prepared() != SQLITE_OK) {
        transaction.leaveOpen();
        return statement.prepared();
    }
    const int rc = statement.runForEach(infos, [&](const GroupMsgInfo& info) {
        statement.bind(info.m_messageId, info.m_groupVersion, info.m_groupMemberCount);
    });
    if (rc != SQLITE_OK && inTransaction) {
        m_connection->rollback();  // the caller's transaction ends here as well
    }
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::getGroupVersionInfo(const std::string& messageId, std::string& version,
                                          int& memberCount) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "getGroupVersionInfo",
                        "SELECT messageId,groupVersion,groupMemberCount FROM table_groupVersionInfo "
                        "WHERE messageId=?;",
                        messageId.c_str());
    statement.bind(messageId);
    return statement.fetchOne([&](sqlite3_stmt* row) {
        readText(row, 1, version);
        memberCount = sqlite3_column_int(row, 2);
    });
}

// ---- held messages

int Sqlite3Functions::addResultToLocalMessageTable(const std::vector<BaseResult>& results,
                                                   bool inTransaction) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "addResultToLocalMessageTable",
                        "INSERT INTO table_local_msg (messageId,type,content) VALUES (?,?,?);");
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    Transaction transaction(*m_connection, !inTransaction);
    const int rc = statement.runForEach(results, [&](const BaseResult& result) {
        statement.bind(result.getResultId(), result.getType(), result.getData());
    });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

int Sqlite3Functions::addResultToLocalMessageTable(const BaseResult& result) {
    return addResultToLocalMessageTable(std::vector<BaseResult>{result}, false);
}

int Sqlite3Functions::getLocalMessages(long limit, long afterId,
                                       std::vector<std::shared_ptr<LocalMessage>>& messages) {
    Sqlite3Guard lock(m_lock);
    messages.clear();
    Statement statement(*m_connection, "getLocalMessages",
                        "SELECT id,messageId,type,content,status,extraInfo FROM table_local_msg  WHERE id>? "
                        "ORDER BY id ASC LIMIT ?;");
    statement.bind(afterId, limit < 1 ? 1 : limit);
    return statement.fetchAll([&](sqlite3_stmt* row) {
        auto message = std::make_shared<LocalMessage>();
        message->m_id = sqlite3_column_int(row, 0);
        readText(row, 1, message->m_messageId);
        message->m_type = sqlite3_column_int(row, 2);
        readText(row, 3, message->m_content);
        message->m_status = sqlite3_column_int(row, 4);
        readText(row, 5, message->m_extraInfo);
        messages.push_back(std::move(message));
    });
}

int Sqlite3Functions::deleteLocalMessages(const std::vector<long>& ids) {
    Sqlite3Guard lock(m_lock);
    Statement statement(*m_connection, "deleteLocalMessages", "DELETE FROM table_local_msg WHERE id=?;");
    if (statement.prepared() != SQLITE_OK) {
        return statement.prepared();
    }
    Transaction transaction(*m_connection);
    const int rc = statement.runForEach(ids, [&](const long id) { statement.bind(id); });
    return rc != SQLITE_OK ? rc : transaction.commitAndReportSuccess();
}

// ---- the whole batch

int Sqlite3Functions::addBatchResults(int target, const std::vector<BaseResult>& results) {
    switch (target) {
        case 0:
            return addResult(results, true);
        case 1:
            return addResultToLocalMessageTable(results, true);
        default:
            return SQLITE_OK;
    }
}

int Sqlite3Functions::submitBatchMessage(int target, const std::vector<BaseResult>& results,
                                         CMDInfoItemSet& commands, std::map<std::string, int64>& msgIds,
                                         int64 seqId0, int64 seqId1) {
    Sqlite3Guard lock(m_lock);
    Transaction transaction(*m_connection);
    if (addBatchResults(target, results) != SQLITE_OK) {
        VLOX_LOG(4, "error when sqlite operation addResult!");
        return 1;
    }
    if (retainCMDInfo(commands, true) != SQLITE_OK) {
        VLOX_LOG(4, "error when sqlite operation retainCMDInfo!");
        return 1;
    }
    if (!retainMsgID(msgIds, true)) {
        VLOX_LOG(4, "error when sqlite operation retainMsgID!");
        return 1;
    }
    if (!retain(seqId0, 0)) {
        VLOX_LOG(4, " error when sqlite operation setLastSeqID[0]!");
        return 1;
    }
    if (!retain(seqId1, 1)) {
        VLOX_LOG(4, "error when sqlite operation setLastSeqID[1]!");
        return 1;
    }
    return transaction.commitAndReportSuccess();
}

}  // namespace vloxlib
