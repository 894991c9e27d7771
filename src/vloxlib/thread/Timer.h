#ifndef VLOXLIB_THREAD_TIMER_H
#define VLOXLIB_THREAD_TIMER_H

#include <vloxlib/Export.h>
#include <vloxlib/thread/Windows/Runnable.h>
#include <vloxlib/thread/Windows/WindowsCondition.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <vloxlib/thread/Windows/WindowsThread.h>
#include <functional>
#include <memory>

namespace vloxlib {

class BackOffMode;

/// @brief Runs a procedure again and again on a thread of its own, sleeping in between as a BackOffMode says.
///
/// Life: idle until start() or exec(); ends by yiled(), yiledAndWait() or, where asked for, with the first
/// success; may then be started anew, with the delay, also while a stop is still on its way. The destructor
/// ends it and waits. Threads: any; yiledAndWait() and the destructor not from the procedure itself, which
/// they would wait for. Procedure and back-off run with no lock held. Units: seconds. Errors: a thread that
/// can't be made is told by false, from exec() with a line of level 4 too. An exception of the procedure, an
/// empty one's std::bad_function_call too, is not caught.
class VLOX_API Timer : private Runnable {
public:
    /// @param proc the work; true means success
    /// @param mode null: an hour lies between two runs
    /// @param delay before the first run
    Timer(const std::function<bool()>& proc, const std::shared_ptr<BackOffMode>& mode, int delay,
          bool stopOnSuccess);
    Timer(const std::shared_ptr<BackOffMode>& mode, int delay, bool stopOnSuccess);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() override;

    bool start();
    /// @brief Starts the timer, with the delay; one that runs has its sleep ended, so that the next run comes
    /// at once. During a run it is remembered: a whole run begins behind the last call, whatever that run
    /// returns.
    /// @param reset whether the back-off begins anew
    bool exec(bool reset);
    void setDelay(int seconds);
    void setProc(const std::function<bool()>& proc);
    void setNextBeat(int seconds);  ///< Asks the back-off for an interval.
    void yiled();                   ///< The timer ends at its next check; neither wakes it nor waits.
    void yiledAndWait();            ///< Ends the timer and waits for it; nothing on one that has ended.

protected:
    void work() override;

private:
    bool launch(bool kick);
    int delay() const;
    void sleep(int seconds);
    bool beginRun(std::function<bool()>& proc);
    bool endRun(bool success);
    void endCycle();
    bool askToStop();

    bool m_stop = false;     // guarded by m_mutex, as is what follows, and m_thread, m_proc and m_delay
    bool m_kicked = false;   // exec() asked for a run that hasn't begun
    bool m_working = false;  // from the start of a cycle until the worker has decided to end
    bool m_again = false;    // started behind a stop that the worker hasn't seen
    std::shared_ptr<WindowsThread> m_previous;  // of the cycle before, where the worker itself began another
    const bool m_stopOnSuccess;
    std::shared_ptr<WindowsThread> m_thread;
    std::function<bool()> m_proc;
    const std::shared_ptr<BackOffMode> m_backOff;
    int m_delay;
    WindowsMutex m_mutex;
    WindowsCondition m_condition;
};

}  // namespace vloxlib

#endif
