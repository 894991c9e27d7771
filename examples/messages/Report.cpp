#include "Report.h"

#include <common/Json.h>

#include <algorithm>

namespace messages {

using common::JsonObject;
namespace {

const char* const stageNames[] = {"store", "fetch", "request", "close", "deliver"};

// Codes of exchanges that may not have reached the server.
bool isTransportFailure(int code) { return code <= -800 && code >= -828; }

long long microseconds(Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

Clock::duration percentile(const std::vector<Clock::duration>& sorted, std::size_t percent) {
    return sorted.empty() ? Clock::duration(0) : sorted[(sorted.size() - 1) * percent / 100];
}

}  // namespace

void Report::countRequest(int code) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_requests;
    if (code != 0) {
        ++m_failures[code];
    }
}

void Report::addTime(Stage stage, Clock::duration time) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_times[stage].push_back(time);
}

void Report::noteClosed(const std::string& id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed[id] = Clock::now();
}

void Report::noteDelivered(const std::string& id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto closed = m_closed.find(id);
    if (closed != m_closed.end()) {  // an earlier run's result has no beginning here
        m_times[DELIVER].push_back(Clock::now() - closed->second);
        m_closed.erase(closed);
    }
}

std::string Report::toJson(const std::string& storePath) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    JsonObject failures;
    long long unreached = 0;
    for (const auto& [code, count] : m_failures) {
        failures.add(std::to_string(code).c_str(), count);
        unreached += isTransportFailure(code) ? count : 0;
    }
    JsonObject stages;
    for (int stage = 0; stage < STAGES; ++stage) {
        std::vector<Clock::duration> sorted = m_times[stage];
        std::sort(sorted.begin(), sorted.end());
        stages.add(stageNames[stage], JsonObject()
                                          .add("count", static_cast<long long>(sorted.size()))
                                          .add("medianMicroseconds", microseconds(percentile(sorted, 50)))
                                          .add("p99Microseconds", microseconds(percentile(sorted, 99))));
    }
    return JsonObject()
        .add("requests", m_requests)
        .add("unreached", unreached)
        .add("failures", failures)
        .add("stages", stages)
        .add("store", storePath)
        .text();
}

}  // namespace messages
