#ifndef VLOXLIB_TASK_RESULTDISPATCHER_H
#define VLOXLIB_TASK_RESULTDISPATCHER_H

#include <vloxlib/Export.h>
#include <vloxlib/task/BaseResult.h>
#include <vloxlib/thread/Windows/WindowsCondition.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <vloxlib/thread/Windows/WindowsThread.h>
#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace vloxlib {

class Sqlite3Functions;

/// @brief Frame of a thread that carries results from the store to their consumer; the loop is a subclass's.
///
/// The subclass overrides run(), which loops while m_running is set: it reads pending results in the order of
/// their ids from m_store, hands them over, and removes what was delivered. A result that was not removed is
/// read again, after a restart too, so delivery is at least once. With nothing pending it waits on
/// m_condition under m_mutex. A notification while the loop isn't waiting is lost, so under the mutex it has
/// to look at m_running and at the table before it waits. Life: start(), stop(), join(), in this order.
/// start() doesn't undo a join(): a second thread made by it can't be joined through this class. Threads:
/// any. Ownership: the store is borrowed and has to outlive the dispatcher.
class VLOX_API ResultDispatcher : public WindowsThread {
public:
    /// @param name the store's name; its file lies in the data directory of Context (default "./")
    explicit ResultDispatcher(const std::string& name);
    ~ResultDispatcher() override;

    void start();
    void stop();          ///< Asks the loop to end, and wakes it.
    void join();          ///< Waits for the loop's end, the first time it is called.
    int publishNotify();  ///< Wakes the loop: to be called after a result was stored. @return 0

    /// The store's operations of these names; they don't wake the loop.
    int sweepTask(const std::string& id, int returnCode);
    int sweepTask(const std::string& id, int returnCode, const std::string& data);
    int sweepTasks(const std::vector<BaseResult>& results);

protected:
    /// Both return 0 whatever the store reports: what couldn't be removed is read, and delivered, again.
    int removeResultItem(const BaseResult& result) const;
    int removeMultiResultItems(const std::vector<std::pair<std::string, ResultType>>& items) const;

    Sqlite3Functions* m_store;
    std::atomic<bool> m_running{false};

private:
    void run() override;

    std::atomic<bool> m_joined{false};

protected:
    WindowsMutex m_mutex;  ///< Guards the wake-up.
    WindowsCondition m_condition;
};

}  // namespace vloxlib

#endif
