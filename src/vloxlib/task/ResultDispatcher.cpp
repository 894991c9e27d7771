#include "vloxlib/task/ResultDispatcher.h"

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/task/ClientStore.h"

namespace vloxlib {

ResultDispatcher::ResultDispatcher(const std::string& name) : m_store(clientStore(name)) {}

ResultDispatcher::~ResultDispatcher() = default;

void ResultDispatcher::start() {
    VLOX_LOG(0, "called");
    m_running = true;
    WindowsThread::start();
}

void ResultDispatcher::stop() {
    VLOX_LOG(2, "called");
    WindowsMutexGuard lock(m_mutex);
    m_running = false;
    m_condition.notifyAll();
}

void ResultDispatcher::join() {
    VLOX_LOG(2, "called");
    if (!m_joined) {
        WindowsThread::join();
        m_joined = true;
    }
}

int ResultDispatcher::publishNotify() {
    WindowsMutexGuard lock(m_mutex);
    m_condition.notifyOne();
    return 0;
}

int ResultDispatcher::sweepTask(const std::string& id, int returnCode) {
    return m_store->sweepTask(id, returnCode);
}

int ResultDispatcher::sweepTask(const std::string& id, int returnCode, const std::string& data) {
    return m_store->sweepTask(id, returnCode, data);
}

int ResultDispatcher::sweepTasks(const std::vector<BaseResult>& results) {
    return m_store->sweepTasks(results);
}

int ResultDispatcher::removeResultItem(const BaseResult& result) const {
    m_store->deleteResult(result.getResultId(), result.getType());
    return 0;
}

int ResultDispatcher::removeMultiResultItems(
    const std::vector<std::pair<std::string, ResultType>>& items) const {
    if (!items.empty()) {
        m_store->deleteResult(items);
    }
    return 0;
}

void ResultDispatcher::run() { VLOX_LOG(2, "subclass has not realize the method"); }

}  // namespace vloxlib
