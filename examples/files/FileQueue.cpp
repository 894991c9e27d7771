#include "FileQueue.h"

#include <vloxlib/Context.h>
#include <vloxlib/log/vloxLog.h>

#include <memory>
#include <vector>

namespace files {

using vloxlib::BaseTask;
using vloxlib::Sqlite3Functions;

namespace {

constexpr int kStoreConstraint = 19;
constexpr int kNoTaskOfOurs = -199;

}  // namespace

std::string FileQueue::dataDirectory() {
    return vloxlib::Context::getInstance()->getContext(vloxlib::CONTEXT_DATA_DIR, std::string("./"));
}

FileQueue::FileQueue(const std::string& storeName)
    : m_store(*Sqlite3Functions::getSqliteInstance(dataDirectory().c_str(), storeName)), m_tasks(storeName) {}

// The digests of files that wait have to stay, which sweepTaskWithQosRetryProcess() would take out; all tasks
// here outlive their process anyway.
FileQueue::LeftBehind FileQueue::repair() {
    m_store.resetTaskStatus();
    std::vector<BaseTask> tasks;
    m_store.getTask(vloxlib::TASK_TYPE_FILE, tasks);
    for (const BaseTask& task : tasks) {
        noteId(task.getTaskId());
    }
    std::vector<vloxlib::BaseResult> results;
    m_store.getResult(vloxlib::RESULT_TYPE_FILE, results);
    for (const auto& result : results) {
        noteId(result.getResultId());
    }
    return {static_cast<int>(tasks.size()), static_cast<int>(results.size())};
}

bool FileQueue::noteId(const std::string& id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_known.insert(id).second;
}

FileQueue::Outcome FileQueue::store(const FileTask& task) {
    const vloxlib::QoS quality = vloxlib::QoS::qosRetryForever();
    const int code = task.direction == FileTask::SEND
                         ? m_store.addFileTask(task.id, vloxlib::TASK_TYPE_FILE, quality,
                                               vloxlib::TASK_PRIORITY_DEFAULT, toPayload(task), task.digest)
                         : m_store.addTask(task.id, vloxlib::TASK_TYPE_FILE, quality,
                                           vloxlib::TASK_PRIORITY_DEFAULT, toPayload(task));
    return code == 0 ? STORED : code == kStoreConstraint ? SAME_CONTENT : REFUSED;
}

std::optional<FileTask> FileQueue::next() {
    const std::shared_ptr<BaseTask> row = m_tasks.getTask(vloxlib::TASK_TYPE_FILE);
    if (!row) {
        return std::nullopt;
    }
    std::optional<FileTask> task = fromPayload(row->getTaskId(), row->getSerializedData());
    if (!task) {
        VLOX_LOG(4, "task %s can't be read", row->getTaskId().c_str());
        m_store.sweepFileTask(row->getTaskId(), kNoTaskOfOurs, true);
    }
    return task;
}

}  // namespace files
