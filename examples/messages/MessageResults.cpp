#include "MessageResults.h"

#include <common/Json.h>
#include <vloxlib/database/Sqlite3Functions.h>

#include <memory>
#include <utility>
#include <vector>

namespace messages {

using common::JsonObject;

using vloxlib::BaseResult;
using vloxlib::WindowsMutexGuard;
using vloxlib::WindowsMutexUnlockGuard;

namespace {

// So many results at most come a second time when the process ends between their delivery and their removal.
constexpr int kBatch = 20;

}  // namespace

MessageResults::MessageResults(const std::string& storeName, Report& report, MessagesListener listener,
                               void* context)
    : ResultDispatcher(storeName), m_report(report), m_listener(listener), m_context(context) {}

void MessageResults::run() {
    const WindowsMutexGuard guard(m_mutex);
    bool refused = false;
    while (m_running) {
        // The table is read under the lock that the wait releases, so that no notification falls in between.
        int pending = 0;
        m_store->getMessageResultAmount(0, pending);
        if (pending == 0 || refused) {
            m_condition.wait(m_mutex);
            refused = false;
        } else {
            const WindowsMutexUnlockGuard unlocked(m_mutex, true);
            refused = !deliverPending();
        }
    }
}

bool MessageResults::deliverPending() {
    std::vector<std::shared_ptr<BaseResult>> results;
    m_store->getMessageResult(results, kBatch);
    std::vector<std::pair<std::string, vloxlib::ResultType>> taken;
    for (const auto& result : results) {
        const std::string json = JsonObject()
                                     .add("id", result->getResultId())
                                     .add("code", result->getReturnCode())
                                     .add("data", result->getData())
                                     .text();
        m_report.noteDelivered(result->getResultId());
        if (m_listener(m_context, MESSAGES_RESULT, json.c_str())) {
            taken.emplace_back(result->getResultId(), result->getType());
        }
    }
    removeMultiResultItems(taken);
    return !taken.empty();
}

}  // namespace messages
