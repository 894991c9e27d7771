#ifndef TESTS_SUPPORT_TOKENLISTENER_H
#define TESTS_SUPPORT_TOKENLISTENER_H

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vloxlib/network/NetworkChangedListener.h"

namespace vlox_test {

/// Keeps the tokens that it is told of changes of this machine's addresses.
class TokenListener : public vloxlib::NetworkChangedListener {
public:
    void onNetworkChanged(const vloxlib::NetworkInfo& current) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        EXPECT_EQ(vloxlib::NETWORK_TYPE_CONNECTED, current.getNetworkType());
        m_tokens.push_back(std::stoll(current.getIPAddress()));
    }
    std::vector<long long> tokens() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_tokens;
    }
    bool awaitTokens(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(30)) const {
        const auto giveUp = std::chrono::steady_clock::now() + limit;
        while (tokens().size() < count && std::chrono::steady_clock::now() < giveUp) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return tokens().size() >= count;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<long long> m_tokens;
};

}  // namespace vlox_test

#endif
