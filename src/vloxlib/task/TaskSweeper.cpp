#include "vloxlib/task/TaskSweeper.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

// For ever in effect: the wait's 32-bit milliseconds make about 40 days of it.
constexpr int kIdleSeconds = 360000000;

int64 now() { return static_cast<int64>(std::time(nullptr)); }

}  // namespace

TaskItem::TaskItem(const std::string& id, int64 triggerTime, std::function<void(const std::string&)> handler)
    : m_taskId(id), m_triggerTime(triggerTime), m_timedHandler(std::move(handler)) {}

TimerQueue::TimerQueue() = default;

TimerQueue::~TimerQueue() = default;

void TimerQueue::add(std::shared_ptr<TaskItem> item) {
    WindowsMutexGuard lock(m_mutex);
    if (m_items.empty()) {
        m_items.push_back(std::move(item));
        m_condition.notifyOne();
        return;
    }
    // From the back: most timers are set in the order in which they fire.
    const auto notLater = std::find_if(m_items.rbegin(), m_items.rend(), [&](const auto& other) {
        return other->getTriggerTime() <= item->getTriggerTime();
    });
    m_items.insert(notLater.base(), std::move(item));
}

void TimerQueue::remove(const std::string& id) {
    WindowsMutexGuard lock(m_mutex);
    if (m_items.empty()) {
        return;
    }
    if (m_items.front()->getTaskId() == id) {
        m_items.pop_front();
        m_condition.notifyOne();
        return;
    }
    m_items.remove_if([&](const auto& item) { return item->getTaskId() == id; });
}

std::shared_ptr<TaskItem> TimerQueue::take(int waitSeconds) {
    WindowsMutexGuard lock(m_mutex);
    if (m_items.empty()) {
        m_condition.timedWait(m_mutex, waitSeconds);
        return nullptr;
    }
    const std::shared_ptr<TaskItem> head = m_items.front();
    const int64 remaining = head->getTriggerTime() - now();
    if (remaining < 1) {
        return head;
    }
    const bool timePassed = m_condition.timedWait(m_mutex, static_cast<int>(remaining)) != 0;
    return timePassed ? head : nullptr;
}

void TimerQueue::notify() { m_condition.notifyOne(); }

TimeoutTaskSweeper::TimeoutTaskSweeper() = default;

TimeoutTaskSweeper::~TimeoutTaskSweeper() = default;

void TimeoutTaskSweeper::addTask(std::shared_ptr<TaskItem> item) { m_queue.add(std::move(item)); }

void TimeoutTaskSweeper::cancelTask(const std::string& id) { m_queue.remove(id); }

void TimeoutTaskSweeper::start() {
    VLOX_LOG(0, "called");
    m_running = true;
    WindowsThread::start();
}

void TimeoutTaskSweeper::stop() {
    VLOX_LOG(0, "called");
    m_running = false;
    m_queue.notify();
}

void TimeoutTaskSweeper::join() {
    VLOX_LOG(0, "called");
    if (!m_joined) {
        WindowsThread::join();
        m_joined = true;
    }
}

void TimeoutTaskSweeper::run() {
    while (m_running) {
        if (const std::shared_ptr<TaskItem> item = m_queue.take(kIdleSeconds)) {
            const std::string id = item->getTaskId();
            item->getTimedHandler()(id);
            m_queue.remove(id);
        }
    }
    VLOX_LOG(0, "did end");
}

}  // namespace vloxlib
