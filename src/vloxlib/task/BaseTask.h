#ifndef VLOXLIB_TASK_BASETASK_H
#define VLOXLIB_TASK_BASETASK_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/task/QoS.h>
#include <vloxlib/task/TaskTypes.h>
#include <string>
#include <vector>

namespace vloxlib {

/// @brief One unit of work, as a business module describes it and the store keeps it.
///
/// A plain copyable value. The execute count, the last result, the time and the list of task ids live in
/// memory only: a task read back from the store has count 0 and was not run yet. Threads: none of its own;
/// each copy belongs to its holder.
class VLOX_API BaseTask {
public:
    /// A file task of the default priority, tried once within QoS::defaultNetworkTimeout, created now.
    BaseTask();
    BaseTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority);

    const std::string& getTaskId() const { return m_taskId; }
    TaskType getTaskType() const { return m_type; }
    const QoS& getQoS() const { return m_qos; }
    TaskPriority getPriority() const { return m_priority; }
    TaskStatus getStatus() const { return m_status; }
    GeneralTaskResult getResult() const { return m_lastResult; }
    int getExcuteTime() const { return m_executeCount; }  ///< How many times the task was run.
    int64 getCreateTime() const { return m_createTime; }  ///< Unix seconds.
    int64 getTime() const { return m_time; }              ///< Nothing in this library sets it.
    std::string getSerializedData() { return m_data; }    ///< A copy of the payload.
    const std::string& getSerializedData() const { return m_data; }
    std::vector<std::string>& getTaskIds() {
        return m_taskIds;
    }  ///< The live list, kept for the task's owner.

    void setTaskIds(std::vector<std::string> taskIds);
    void setTaskId(const std::string& id) { m_taskId = id; }
    void setSerializedData(const std::string& data) { m_data = data; }
    void setStatus(TaskStatus status) { m_status = status; }
    void setCreateTime(int64 unixSeconds) { m_createTime = unixSeconds; }
    void increaseExcuteTime() { ++m_executeCount; }
    void updateLastExcuteResult(GeneralTaskResult result) { m_lastResult = result; }

    /// @brief Whether no further attempt is owed, judged from this record alone.
    ///
    /// A level that isn't known counts as achieved and is logged.
    bool isQosAchieved() const;

    /// @brief Replaces @p out by one line of text about the task. @return out
    std::string& toString(std::string& out) const;

private:
    friend class Sqlite3Functions;  // fills a record column by column

    std::string m_taskId;
    TaskType m_type = TASK_TYPE_FILE;
    QoS m_qos;
    TaskPriority m_priority = TASK_PRIORITY_DEFAULT;
    std::string m_data;
    int64 m_createTime;
    int64 m_time = 0;
    TaskStatus m_status = TASK_STATUS_WAITING;
    int m_executeCount = 0;
    GeneralTaskResult m_lastResult = TASK_RESULT_NOT_RUN;
    std::vector<std::string> m_taskIds;
};

}  // namespace vloxlib

#endif
