#ifndef VLOXLIB_TASK_TASKDISPATCHER_H
#define VLOXLIB_TASK_TASKDISPATCHER_H

#include <vloxlib/Export.h>
#include <vloxlib/task/BaseTask.h>
#include <memory>
#include <string>
#include <vector>

namespace vloxlib {

class Sqlite3Functions;

/// @brief The front of a client's task queue for a business module: it submits, fetches, updates and removes
/// tasks.
///
/// A synchronous façade without a state of its own: each call is one call of the store, returns at once and
/// doesn't wait for tasks. Lowest priority number first, then oldest; waiting tasks don't age. Threads: any.
/// Two threads never receive one task twice, except with masks that have bit 1 or 4, whose tasks keep status
/// 0 until someone changes or removes them. Ownership: the store is borrowed and has to outlive the
/// dispatcher. Errors: logged by the store; int results are SQLite's codes.
class VLOX_API TaskDispatcher {
public:
    /// @param name the store's name; its file lies in the data directory of Context (default "./")
    explicit TaskDispatcher(const std::string& name);

    bool storeBaseTask(
        std::shared_ptr<BaseTask> task);  ///< @return false for no task, and for an id stored already
    /// @brief Takes the first waiting task of the mask. The record says 0 as read, while the row says 1.
    /// @return null when there is none, and always for a mask with bit 1 or 4: getTasks() serves those
    std::shared_ptr<BaseTask> getTask(int typeMask);
    std::shared_ptr<BaseTask> getTaskById(const std::string& id);  ///< Null when absent; the status stays.
    /// @return 0; 101 when there is none, and with the tasks in the list for a mask with bit 1 or 4
    int getTasks(int typeMask, int limit, std::vector<BaseTask>& tasks);
    /// @return an empty list, always; getTasks() is the way to a batch
    std::vector<std::shared_ptr<BaseTask>> getMultiTask(TaskType type, int limit);
    int getTaskStatus(const std::string& id, TaskStatus& status);
    /// @brief The task's age starts anew.
    int updateTask(const std::string& id, TaskType type, const std::string& data, TaskStatus status);
    int updateTaskStatus(const std::string& id, TaskStatus status);
    int updateTaskStatus(const std::vector<std::string>& ids, TaskStatus status);  ///< All or none.
    bool removeTask(const std::string& id);  ///< @return true also for an absent id

private:
    Sqlite3Functions* m_store;
};

}  // namespace vloxlib

#endif
