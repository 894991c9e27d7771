#include "vloxlib/task/TaskSweeper.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>
#include <vector>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

// For ever in effect.
constexpr int kIdleSeconds = 360000000;

int64 now() { return static_cast<int64>(std::time(nullptr)); }

}  // namespace

TaskItem::TaskItem(const std::string& id, int64 triggerTime, std::function<void(const std::string&)> handler)
    : m_taskId(id), m_triggerTime(triggerTime), m_timedHandler(std::move(handler)) {}

TimerQueue::TimerQueue() = default;

TimerQueue::~TimerQueue() = default;

void TimerQueue::add(std::shared_ptr<TaskItem> item) {
    if (item == nullptr) {
        return;
    }
    WindowsMutexGuard lock(m_mutex);
    const bool first = m_items.empty();
    const auto place = m_places.emplace(item->getTaskId(), m_items.end());
    const std::pair moment{item->getTriggerTime(), m_arrivals++};
    place->second = m_items.emplace(moment, Entry{std::move(item), place}).first;
    if (first) {
        m_condition.notifyOne();
    }
}

void TimerQueue::remove(const std::string& id) {
    std::vector<std::shared_ptr<TaskItem>>
        removed;  // go without the lock: what handlers hold is the caller's
    WindowsMutexGuard lock(m_mutex);
    if (m_items.empty()) {
        return;
    }
    const Entry& head = m_items.begin()->second;
    if (head.item->getTaskId() == id) {
        erase(head.place, removed);
        m_condition.notifyOne();
        return;
    }
    for (auto place = m_places.find(id); place != m_places.end() && place->first == id;) {
        place = erase(place, removed);
    }
}

TimerQueue::Places::iterator TimerQueue::erase(Places::iterator place,
                                               std::vector<std::shared_ptr<TaskItem>>& removed) {
    removed.push_back(std::move(place->second->second.item));
    m_items.erase(place->second);
    return m_places.erase(place);
}

std::shared_ptr<TaskItem> TimerQueue::take(int waitSeconds) {
    WindowsMutexGuard lock(m_mutex);
    return takeLocked(waitSeconds);
}

// Looked at under the lock that notify() takes: so no end of `wanted` falls between the look and the wait.
std::shared_ptr<TaskItem> TimerQueue::takeWhile(const std::atomic<bool>& wanted, int waitSeconds) {
    WindowsMutexGuard lock(m_mutex);
    return wanted ? takeLocked(waitSeconds) : nullptr;
}

std::shared_ptr<TaskItem> TimerQueue::takeLocked(int waitSeconds) {
    if (m_items.empty()) {
        m_condition.timedWait(m_mutex, waitSeconds);
        return nullptr;
    }
    const std::shared_ptr<TaskItem> head = m_items.begin()->second.item;
    const int64 moment = now();
    if (head->getTriggerTime() <= moment) {
        return head;
    }
    const int64 remaining = head->getTriggerTime() - moment;
    const auto seconds = static_cast<int>(std::min<int64>(remaining, std::numeric_limits<int>::max()));
    const bool timePassed = m_condition.timedWait(m_mutex, seconds) != 0;
    return timePassed && seconds == remaining ? head : nullptr;
}

void TimerQueue::notify() {
    WindowsMutexGuard lock(m_mutex);
    m_condition.notifyOne();
}

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
        if (const std::shared_ptr<TaskItem> item = m_queue.takeWhile(m_running, kIdleSeconds)) {
            const std::string id = item->getTaskId();
            item->getTimedHandler()(id);
            m_queue.remove(id);
        }
    }
    VLOX_LOG(0, "did end");
}

}  // namespace vloxlib
