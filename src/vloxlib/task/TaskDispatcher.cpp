#include "vloxlib/task/TaskDispatcher.h"

#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/task/ClientStore.h"

namespace vloxlib {

TaskDispatcher::TaskDispatcher(const std::string& name) : m_store(clientStore(name)) {}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature that modules link against
bool TaskDispatcher::storeBaseTask(std::shared_ptr<BaseTask> task) {
    return task != nullptr && m_store->addTask(*task) == 0;
}

std::shared_ptr<BaseTask> TaskDispatcher::getTask(int typeMask) {
    auto task = std::make_shared<BaseTask>();
    return m_store->getTask(*task, typeMask, TASK_STATUS_WAITING) == 0 ? task : nullptr;
}

std::shared_ptr<BaseTask> TaskDispatcher::getTaskById(const std::string& id) {
    auto task = std::make_shared<BaseTask>();
    return m_store->getTask(*task, id) == 0 ? task : nullptr;
}

int TaskDispatcher::getTasks(int typeMask, int limit, std::vector<BaseTask>& tasks) {
    return m_store->getTask(tasks, typeMask, TASK_STATUS_WAITING, limit);
}

std::vector<std::shared_ptr<BaseTask>> TaskDispatcher::getMultiTask(TaskType /*type*/, int /*limit*/) {
    return {};
}

int TaskDispatcher::getTaskStatus(const std::string& id, TaskStatus& status) {
    return m_store->getTaskStatus(id, status);
}

int TaskDispatcher::updateTask(const std::string& id, TaskType type, const std::string& data,
                               TaskStatus status) {
    return m_store->updateTask(id, type, data, status);
}

int TaskDispatcher::updateTaskStatus(const std::string& id, TaskStatus status) {
    return m_store->updateTaskStatus(id, status);
}

int TaskDispatcher::updateTaskStatus(const std::vector<std::string>& ids, TaskStatus status) {
    return m_store->updateTaskStatus(ids, status, false);
}

bool TaskDispatcher::removeTask(const std::string& id) { return m_store->deleteTask(id) == 0; }

}  // namespace vloxlib
