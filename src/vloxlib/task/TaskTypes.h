/// @file
/// @brief The numbers of tasks and results. They are written into the store and are part of its file format.
///
/// Modules pass values of their own, which are stored and given back as they come; the underlying type is
/// fixed.
#ifndef VLOXLIB_TASK_TASKTYPES_H
#define VLOXLIB_TASK_TASKTYPES_H

namespace vloxlib {

/// Kind of a task. Queries take a mask of kinds, so each kind is one bit; further bits are the modules' own.
enum TaskType : int {
    TASK_TYPE_EXPIRING =
        1,  ///< Expired by Sqlite3Functions::sweepTimeoutTasks; handed out without a status change.
    TASK_TYPE_REPEATING = 4,  ///< Handed out without a status change.
    TASK_TYPE_FILE = 8        ///< Upload or download.
};

/// Kind of a result: that of its task, with the same values.
enum ResultType : int { RESULT_TYPE_EXPIRING = 1, RESULT_TYPE_REPEATING = 4, RESULT_TYPE_FILE = 8 };

/// The lower the number, the earlier a task is served.
enum TaskPriority : int {
    TASK_PRIORITY_DEFAULT = 1,
    TASK_PRIORITY_SINGLETON =
        100  ///< The store keeps at most one task of this priority and drops a second one.
};

enum TaskStatus : int {
    TASK_STATUS_WAITING = 0,
    TASK_STATUS_TAKEN = 1,     ///< Handed out by a query, being worked on.
    TASK_STATUS_FILE_DONE = 4  ///< A file task whose result is stored and which stays in the queue.
};

enum ResultStatus : int { RESULT_STATUS_STORED = 0 };

/// Outcome of a task's last run.
enum GeneralTaskResult : int {
    TASK_RESULT_NOT_RUN = -1,
    TASK_RESULT_SUCCESS = 0,
    TASK_RESULT_SUCCESS_ALTERNATE = 3  ///< Counts as success too.
};

}  // namespace vloxlib

#endif
