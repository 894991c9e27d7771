#include "Transfers.h"

#include <memory>

namespace files {

namespace {

constexpr int kCancelled = -109;
constexpr int kSecondsToConnect = 5;

}  // namespace

// A file may take as long as it takes: the library ends what stands still.
int Transfers::run(vloxlib::HttpClient& client, long* status) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopped) {
            return kCancelled;
        }
        m_running.insert(&client);
    }
    auto limits = std::make_shared<vloxlib::QosParams>();
    limits->connectTimeout = kSecondsToConnect;
    const int code = client.performSync(limits, status);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running.erase(&client);
    return code;
}

void Transfers::stop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stopped = true;
    for (vloxlib::HttpClient* const client : m_running) {
        client->httpCancel();
    }
    m_condition.notify_all();
}

bool Transfers::stopped() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_stopped;
}

void Transfers::wait(std::chrono::milliseconds pause) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_condition.wait_for(lock, pause, [this] { return m_stopped; });
}

}  // namespace files
