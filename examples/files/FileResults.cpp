#include "FileResults.h"

#include <common/Json.h>
#include <vloxlib/database/Sqlite3Functions.h>

#include <utility>
#include <vector>

namespace files {

using vloxlib::BaseResult;
using vloxlib::WindowsMutexGuard;
using vloxlib::WindowsMutexUnlockGuard;

FileResults::FileResults(const std::string& storeName, FilesListener listener, void* context)
    : ResultDispatcher(storeName), m_listener(listener), m_context(context) {}

void FileResults::close(const std::string& taskId, int code, const std::string& data) {
    m_store->sweepFileTask(taskId, code, data, true);
    publishNotify();
}

void FileResults::run() {
    const WindowsMutexGuard guard(m_mutex);
    bool refused = false;
    while (m_running) {
        // The table is read under the lock that the wait releases, so that no notification falls in between.
        std::vector<BaseResult> results;
        m_store->getResult(vloxlib::RESULT_TYPE_FILE, results);
        if (results.empty() || refused) {
            m_condition.wait(m_mutex);
            refused = false;
        } else {
            const WindowsMutexUnlockGuard unlocked(m_mutex, true);
            refused = !deliver(results);
        }
    }
}

bool FileResults::deliver(const std::vector<BaseResult>& results) {
    std::vector<std::pair<std::string, vloxlib::ResultType>> taken;
    for (const BaseResult& result : results) {
        const std::string json = common::JsonObject()
                                     .add("id", result.getResultId())
                                     .add("code", result.getReturnCode())
                                     .add("data", result.getData())
                                     .text();
        if (m_listener(m_context, FILES_RESULT, json.c_str())) {
            taken.emplace_back(result.getResultId(), result.getType());
        }
    }
    removeMultiResultItems(taken);
    return !taken.empty();
}

}  // namespace files
