#ifndef VLOXLIB_DATABASE_SQLITE3FUNCTIONS_H
#define VLOXLIB_DATABASE_SQLITE3FUNCTIONS_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <vloxlib/database/Sqlite3Items.h>
#include <vloxlib/database/Sqlite3Mutex.h>
#include <vloxlib/task/BaseResult.h>
#include <vloxlib/task/BaseTask.h>
#include <vloxlib/task/QoS.h>
#include <vloxlib/task/TaskTypes.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace vloxlib {

class Statement;
class StoreConnection;

/// @brief The store of one client: one SQLite file with the task queue, the results, the bookkeeping of
/// messages and a small table of keys and values.
///
/// Life: from the first getSqliteInstance() for a file to releaseSqliteInstance(), which counts no
/// references: release a store only after everything that holds its pointer. The file stays locked in
/// between: no second connection, of this process or another, can use it; looking into it from outside, with
/// vlox-inspect, costs nothing. Durability: what an operation outside a transaction has reported as stored is
/// on the disk; each composite operation is one transaction, which happened whole or not at all. Nothing
/// repairs itself at a start: the queue's user calls sweepTaskWithQosRetryProcess() and resetTaskStatus().
/// The outcomes of BEGIN, COMMIT and ROLLBACK are logged and not returned: getLastCommitCode() tells whether
/// what was reported as stored is. Threads: any; operations of one store run one after the other, each under
/// the store's recursive lock. Errors: int results are SQLite's own codes: 0 for success; 101 (SQLITE_DONE)
/// for a read that found nothing and where told for an empty list; 19 (SQLITE_CONSTRAINT) for a duplicate;
/// others as they come. Each failure is logged once, at level 3. Nothing is tried again. A parameter named
/// inTransaction says that the caller already is in a transaction: the operation then neither begins, commits
/// nor rolls back. Lists that are filled are emptied first. Times are Unix seconds.
/// @note A file that can't be opened or whose tables can't be created ends the process with exit(1), after a
/// line of level 4; so does a file that is already in use.
class VLOX_API Sqlite3Functions : public Noncopyable {
public:
    /// All open stores by the path of their files, and the lock that guards them. Never destroyed, since
    /// threads may still use them while the process ends. Lock order: m_mutex before any store's own lock.
    static std::map<std::string, Sqlite3Functions*>& instances;
    static WindowsMutex& m_mutex;

    /// @brief The store in the file <dir>/<name>.db, made on first use. Never null; owned by the registry.
    ///
    /// The text of the path is the key: "." and "./" lead to two stores for one file, the second of which
    /// can't open.
    static Sqlite3Functions* getSqliteInstance(const char* dir, const std::string& name);
    /// @brief Closes the store for every holder of its pointer. An unknown one is no fault.
    static void releaseSqliteInstance(const char* dir, const std::string& name);

    ~Sqlite3Functions() override;

    /// @name Transactions
    /// Plain BEGIN, COMMIT and ROLLBACK. The caller keeps other threads out for the whole transaction. Where
    /// SQLite ends it by itself, as on a full disk, all further changes are refused with that failure's code
    /// until the caller ends it too.
    /// @{
    int sqlite3_begin_transaction();
    int sqlite3_commit_transaction();
    int sqlite3_rollback_transaction();
    /// @brief What became of the last thing that the calling thread committed on this store: a composite
    /// operation, a single change, or a sqlite3_commit_transaction().
    ///
    /// To be asked right after an operation that reported success, and by those that report nothing. A
    /// composite operation whose COMMIT fails is also logged at level 5.
    /// @return 0 when it is on the disk, or when there was nothing yet; otherwise SQLite's code, and nothing
    /// of it is stored
    int getLastCommitCode() const;
    /// @}

    /// @name Statements
    /// The plain calls of SQLite, and three checks of a code. A check that fails finalises the statement and
    /// returns the code; it logs the method, the row's id (may be empty) and SQLite's last error.
    /// @{
    int doSqlite3Prepare(sqlite3* db, const char* sql, int nbyte, sqlite3_stmt** statement,
                         const char** tail);
    int doSqlite3Step(sqlite3_stmt* statement);
    int doSqlite3Finalize(sqlite3_stmt* statement);
    int preprocessPrepare(sqlite3_stmt* statement, const char* id, const char* method, int rc);  ///< passes 0
    int preprocessNoSelect(sqlite3_stmt* statement, const char* id, const char* method,
                           int rc);  ///< passes 101
    int preprocessSelect(sqlite3_stmt* statement, const char* id, const char* method,
                         int rc);  ///< 100; 101 is silent
    /// @}

    /// @name Schema
    /// @{
    void doCreateTable();  ///< Creates what is missing; ends the process when it can't.
    void getCreateTableSql(
        std::map<std::string, std::string>& statements);  ///< Adds table name -> statement.
    /// @}

    /// @name Keys and values
    /// The key "custom_version" is the store's own.
    /// @{
    int getValueByKey(const std::string& key,
                      std::string& value);  ///< 101, or a NULL: value stays as it was.
    int setKeyAndValue(const std::string& key, const std::string& value);    ///< 19 for a key that is there.
    int updateValueByKey(const std::string& key, const std::string& value);  ///< An absent key is success.
    int replaceValueByKey(const std::string& key, const std::string& value);
    int deleteValueByKey(const std::string& key);  ///< An absent key is success.
    /// @}

    /// @name Storing tasks
    /// A new task has status 0. A second task of priority 100 is dropped and reported as success.
    /// @{
    int addTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                const std::string& data);
    int addTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                const std::string& data, int64 createTime);
    int addTask(const BaseTask& task);
    /// @brief Stores a task with its file's digest; 19 when the digest, or the id, is queued already.
    int addFileTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority,
                    const std::string& data, const std::string& md5);
    int addFileTaskInfo(const std::string& id, const std::string& md5);
    /// @}

    /// @name Reading tasks
    /// @{

    /// @brief Takes waiting tasks: lowest priority first, then oldest, and marks them 1.
    ///
    /// The records keep the status that they were read with. For a mask with bit 1 or 4 the rows stay as they
    /// are, and the code is 101 with the tasks in the list.
    int getTask(std::vector<BaseTask>& tasks, int typeMask, TaskStatus status, int limit);
    int getTask(BaseTask& task, int typeMask,
                TaskStatus status);  ///< The same for one task, with the same code.
    int getTask(BaseTask& task, const std::string& id);
    int getTask(std::vector<BaseTask>& tasks, QoS qos);   ///< All of the quality's level, oldest first.
    int getTask(int type, std::vector<BaseTask>& tasks);  ///< All of exactly this type, oldest first.
    int getAllTask(int typeMask, TaskStatus status, std::vector<BaseTask>& tasks);  ///< In no order.
    int getTimeoutTask(
        std::vector<BaseTask>& tasks);  ///< Levels 3 and 4 past their time, by the database's clock.
    int getTaskStatus(const std::string& id, TaskStatus& status);

    /// True also when the statement couldn't be prepared, false on any later failure.
    bool hasTask(const std::string& id);
    bool hasTask(TaskPriority priority);
    bool hasTask(TaskType type, TaskStatus status);
    /// @}

    /// @name Changing tasks
    /// A task that isn't there is no failure.
    /// @{
    int updateTask(const std::string& id, TaskType type, const std::string& data,
                   TaskStatus status);  ///< Also its age.
    int updateTaskStatus(const std::string& id, TaskStatus status);
    /// @brief All or none. 101 for an empty list. A statement that can't be prepared leaves the BEGIN open.
    int updateTaskStatus(const std::vector<std::string>& ids, TaskStatus status, bool inTransaction);
    int updateTaskStatus(int fromStatus, int typeMask, int toStatus);
    int updateFileTaskStatus(const std::string& id, TaskStatus status);  ///< Frees the file's digest too.
    /// @brief Moves tasks to another status, frees their digests and lists them with the status they had.
    int getTaskAndUpdateStatus(int typeMask, TaskStatus from, TaskStatus to, std::vector<BaseTask>& tasks);
    int resetTaskStatus();  ///< Every task waits again, whatever its status was.
    /// @brief Rewrites payloads, all or none. 101 for an empty list; as updateTaskStatus() on a failing
    /// prepare.
    int updateFileTaskData(std::vector<BaseTask>& tasks);
    /// @}

    /// @name Removing tasks
    /// A task that isn't there is no failure.
    /// @{
    int deleteTask(const std::string& id);
    /// @brief Deletes the results' tasks; a failing row is logged and passed over.
    /// @param ownTransaction true: in a transaction of its own (the reverse sense of inTransaction)
    /// @return the code of preparing the statement
    int deleteTasks(const std::vector<BaseResult>& results, bool ownTransaction);
    int deleteFileTaskInfo(const std::string& id);
    int deleteFileTaskInfos(int status, int typeMask);
    int deleteAllFileTaskInfo();
    /// @}

    /// @name Sweeps: from task to result, in one transaction
    /// A result with the same id and type already stored gives 19, and the task stays; in the last two, which
    /// take all tasks of a kind, it stays too, and the others go.
    /// @{
    int sweepTask(const std::string& id, int returnCode);  ///< The task's payload becomes the result's data.
    int sweepTask(const std::string& id, int returnCode,
                  const std::string& data);  ///< As above where data is empty.
    int sweepTasks(const std::vector<BaseResult>& results);
    int sweepFileTask(const std::string& id, int returnCode, bool deleteTask);
    /// @brief Also frees the file's digest. @param deleteTask false: the task stays, with status 4
    int sweepFileTask(const std::string& id, int returnCode, const std::string& data, bool deleteTask);
    /// @brief Expires tasks of type 1 at level 4, by the database's clock. @param count how many, on success
    /// only
    int sweepTimeoutTasks(int returnCode, int& count);
    /// @brief Closes what may not outlive a process: levels 2 to 4 but for file tasks. Frees all digests.
    int sweepTaskWithQosRetryProcess(int returnCode);
    /// @}

    /// @name Results
    /// A result stays until it is deleted. Its complete time is the database's clock at the insert.
    /// @{
    int addResult(const std::string& id, ResultType type, const std::string& data, int returnCode,
                  ResultStatus status, bool inTransaction);
    int addResult(const BaseResult& result, bool inTransaction);
    int addResult(const std::vector<BaseResult>& results,
                  bool inTransaction);                          ///< All or none; an empty list is 0.
    int getResult(int type, std::vector<BaseResult>& results);  ///< All of exactly this type, oldest first.
    /// @brief Results of every type but 8, oldest first. @param limit below 1 is taken as 1
    int getMessageResult(std::vector<std::shared_ptr<BaseResult>>& results, int limit);
    /// @param table 0 counts the results, 1 the held messages; any other gives SQLITE_MISUSE
    int getMessageResultAmount(int table, int& count);
    int updateResultStatus(const std::string& id, ResultStatus status);  ///< All types of that id.
    int deleteResult(const std::string& id, ResultType type);
    int deleteResult(const std::vector<std::pair<std::string, ResultType>>& results);  ///< All or none.
    /// @brief As updateFileTaskData(), for the data of results.
    int updateFileResultData(std::vector<BaseResult>& results);
    /// @}

    /// @name Sequence numbers of messages, one per class
    /// @{

    /// @return the class's number, cut to its low 32 bits with their sign; -1 when there is none
    int64 getSeqID(int priority);
    bool retain(int64 seqId, int priority);  ///< Makes the class's row if need be. @return true on success
    /// @brief All or none, by class; a class without a row stays without. @return true on success
    bool retainSeqId(std::map<int, int64> seqIds);
    /// @}

    /// @name Ids of received and of sent messages
    /// They are kept for the life of the file. The presence tests don't find an id with an apostrophe, nor
    /// one of some 450 bytes or more, even when it is stored.
    /// @{
    bool isMsgIDExist(const char* msgId);
    bool retainMsgID(int64 from, const char* msgId, int64 timestamp);  ///< @return false for a duplicate too
    /// @brief All or none: a duplicate fails the batch.
    /// @return true on success, for no ids, and when the statement can't be prepared, which leaves the BEGIN
    /// open
    bool retainMsgID(std::map<std::string, int64>& msgIdToTimestamp, bool inTransaction);
    bool isMsgIDExistInSending(const char* msgId);
    void retainSendMsgID(const char* msgId);
    void retainSendMsgIDs(std::vector<std::string>& msgIds);  ///< A duplicate is logged and passed over.

    /// @brief Sets the slots of @p found whose ids are stored to 1 and leaves the others as they are.
    /// @param receivedIds, sentIds message id -> index in @p found; an index outside of it is passed over
    /// @return the code for the sent ids: 0, or -1 when they are more than SQLite takes in one statement
    int batchCheckExist(const std::unordered_map<std::string, int>& receivedIds,
                        const std::unordered_map<std::string, int>& sentIds, std::vector<int>& found);
    /// @param table 0 received, 1 sent
    int batchCheckExistInSendorRecvTable(int table, const std::unordered_map<std::string, int>& ids,
                                         std::vector<int>& found);
    /// @}

    /// @name Status commands, group versions, held messages
    /// @{
    bool retainCMDInfo(CMDInfoItem& item);                         ///< @return false for a duplicate too
    int retainCMDInfo(CMDInfoItemSet& items, bool inTransaction);  ///< Duplicates are passed over.
    bool deleteCMDInfo(CMDInfoItem& item);  ///< All rows of that command. @return true, always
    std::vector<std::shared_ptr<CMDInfoItem>> getAllStatusMsg();

    /// @brief Duplicates are passed over. A failing row ends the caller's transaction too; a statement that
    /// can't be prepared leaves the BEGIN open.
    int addGroupVersionInfos(const std::vector<GroupMsgInfo>& infos, bool inTransaction);
    int getGroupVersionInfo(const std::string& messageId, std::string& version, int& memberCount);

    int addResultToLocalMessageTable(const std::vector<BaseResult>& results,
                                     bool inTransaction);  ///< All or none.
    int addResultToLocalMessageTable(const BaseResult& result);
    /// @brief Held messages behind a row's id, oldest first. @param limit below 1 is taken as 1
    int getLocalMessages(long limit, long afterId, std::vector<std::shared_ptr<LocalMessage>>& messages);
    int deleteLocalMessages(const std::vector<long>& ids);  ///< All or none.
    /// @}

    /// @brief Records everything that one received batch changes, in one transaction.
    /// @param target where the results go: 0 among the results, 1 among the held messages, others nowhere
    /// @param seqId0, seqId1 the sequence numbers of the classes 0 and 1
    /// @return 0, or 1 when nothing of it was recorded: an id that is stored already fails the batch
    int submitBatchMessage(int target, const std::vector<BaseResult>& results, CMDInfoItemSet& commands,
                           std::map<std::string, int64>& msgIds, int64 seqId0, int64 seqId1);

private:
    explicit Sqlite3Functions(const char* path);

    void openFile(const char* path);
    void lockFile();
    bool createTables();
    void migrate();
    bool checkColumnExists(const char* table, const char* column);
    void alterReceiveMsgIdTable();
    bool isNeedUpdateFileTable();
    int updateFileTable();
    int updateFileResultTable();
    int updateFileTaskTable();
    int updateFileTaskData(const std::vector<BaseTask>& tasks, bool inTransaction);
    int updateFileResultData(const std::vector<BaseResult>& results, bool inTransaction);

    void logFailure(const char* method, const char* id) const;
    void setTaskFromStmt(BaseTask& task, sqlite3_stmt* statement);
    void setResultFromStmt(BaseResult& result, sqlite3_stmt* statement);
    int readTasks(Statement& statement, std::vector<BaseTask>& tasks);
    int readWaiting(int typeMask, TaskStatus status, int limit, std::vector<BaseTask>& tasks);
    bool isCounted(Statement& statement, bool whenUnprepared);
    int addBatchResults(int target, const std::vector<BaseResult>& results);
    int getSweptTask(BaseTask& task, const std::string& id, const std::string& data);
    int addSweptResult(const BaseTask& task, int returnCode, const std::string& data);
    int moveSelected(const char* method, const char* insertSql, const char* deleteSql, int returnCode,
                     int& count);

    std::unique_ptr<StoreConnection> m_connection;  // guarded by m_lock
    Sqlite3Mutex m_lock;
};

}  // namespace vloxlib

#endif
