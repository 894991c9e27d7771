/// @file
/// @brief Timed expiry in memory: a handler per task id, run when that task's moment comes.
#ifndef VLOXLIB_TASK_TASKSWEEPER_H
#define VLOXLIB_TASK_TASKSWEEPER_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/thread/Windows/WindowsCondition.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <vloxlib/thread/Windows/WindowsThread.h>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vloxlib {

/// @brief A task id with its moment, in Unix seconds, and what to do then. A plain value.
class VLOX_API TaskItem {
public:
    TaskItem(const std::string& id, int64 triggerTime, std::function<void(const std::string&)> handler);

    const std::string& getTaskId() const { return m_taskId; }
    int64 getTriggerTime() const { return m_triggerTime; }
    std::function<void(const std::string&)> getTimedHandler() const { return m_timedHandler; }

private:
    std::string m_taskId;
    int64 m_triggerTime;
    std::function<void(const std::string&)> m_timedHandler;
};

/// @brief Items in the order of their moments; among equal ones, in the order in which they came.
///
/// Threads: all operations from any thread; meant for one thread in take(). Ownership: shared with the
/// caller. Nothing survives the process.
class VLOX_API TimerQueue : public Noncopyable {
public:
    TimerQueue();
    ~TimerQueue() override;

    /// @brief Puts an item into its place; null is ignored. Only the first item of an empty queue wakes a
    /// waiting take(): an item put in front of the one being waited for fires right after that one.
    void add(std::shared_ptr<TaskItem> item);
    /// @brief Takes the head alone off the list when it has this id, and wakes take(); otherwise all items
    /// with it.
    void remove(const std::string& id);
    /// @brief Waits for the head's moment, or so many seconds on an empty queue. The item stays on the list.
    /// @return the item whose moment has come; null on an empty queue and whenever the wait was ended from
    /// outside
    std::shared_ptr<TaskItem> take(int waitSeconds);
    void notify();  ///< Ends a wait in take(), if there is one.

private:
    friend class TimeoutTaskSweeper;
    struct Entry;
    using Items = std::map<std::pair<int64, int64>, Entry>;  // by moment and arrival
    using Places = std::multimap<std::string, Items::iterator>;
    struct Entry {
        std::shared_ptr<TaskItem> item;
        Places::iterator place;
    };

    std::shared_ptr<TaskItem> takeWhile(const std::atomic<bool>& wanted, int waitSeconds);
    std::shared_ptr<TaskItem> takeLocked(int waitSeconds);
    Places::iterator erase(Places::iterator place, std::vector<std::shared_ptr<TaskItem>>& removed);

    Items m_items;    // guarded by m_mutex, as are the next two
    Places m_places;  // by id
    int64 m_arrivals = 0;
    WindowsMutex m_mutex;
    WindowsCondition m_condition;
};

/// @brief Runs a caller's handler for a task id when that task's moment comes, on a thread of its own.
///
/// Life: start(), later stop() and join(); the destructor doesn't wait. Threads: addTask(), cancelTask() and
/// stop() from any thread, from inside a handler too. Handlers run one at a time on the sweeper's thread with
/// no lock held; a slow one delays all later ones. Ownership: shares an item until it has fired or is
/// cancelled. Errors: none are returned; an exception of a handler, an empty one's std::bad_function_call
/// too, is not caught.
class VLOX_API TimeoutTaskSweeper : public WindowsThread {
public:
    TimeoutTaskSweeper();
    TimeoutTaskSweeper(const TimeoutTaskSweeper&) = delete;
    TimeoutTaskSweeper& operator=(const TimeoutTaskSweeper&) = delete;
    ~TimeoutTaskSweeper() override;

    void addTask(std::shared_ptr<TaskItem> item);  ///< See TimerQueue::add().
    void cancelTask(const std::string& id);
    void start();
    void stop();
    void join();  ///< Waits for the thread's end, once: later calls return at once.

private:
    void run() override;

    TimerQueue m_queue;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_joined{false};
};

}  // namespace vloxlib

#endif
