#include "platform/AddressChanges.h"

#include <winsock2.h>

#include <gtest/gtest.h>
#include <iphlpapi.h>

#include <algorithm>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "support/TempDir.h"
#include "support/TokenListener.h"
#include "support/UserSettings.h"
#include "vloxlib/Context.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "win32/vloxCommonlib.h"

using namespace vloxlib;

namespace {

// Stands in for the system's announcements, as Wine has none: whoever has no request standing at the time of
// a change never hears of it.
class Announcements {
public:
    static DWORD ask(HANDLE* source, OVERLAPPED* request) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        *source = nullptr;
        requests().push_back(request);
        return ERROR_IO_PENDING;
    }
    static BOOL cancel(OVERLAPPED* request) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        const auto found = std::find(requests().begin(), requests().end(), request);
        if (found == requests().end()) {
            return FALSE;
        }
        SetEvent(request->hEvent);
        requests().erase(found);
        return TRUE;
    }
    static void announce() {
        const std::lock_guard<std::mutex> lock(s_mutex);
        for (OVERLAPPED* request : requests()) {
            request->Internal = 0;
            SetEvent(request->hEvent);
        }
        requests().clear();
    }
    static std::size_t standing() {
        const std::lock_guard<std::mutex> lock(s_mutex);
        return requests().size();
    }

private:
    static std::vector<OVERLAPPED*>& requests() {
        static std::vector<OVERLAPPED*> all;
        return all;
    }

    static std::mutex s_mutex;  // guards requests()
};

std::mutex Announcements::s_mutex;

}  // namespace

// Found here, neither is taken from the system's library.
extern "C" {
DWORD WINAPI NotifyAddrChange(HANDLE* source, OVERLAPPED* request) {
    return Announcements::ask(source, request);
}
BOOL WINAPI CancelIPChangeNotify(OVERLAPPED* request) { return Announcements::cancel(request); }
}

TEST(AddressChanges, AreSeenWhereverTheWaiterStandsAndNotAskedForAnyMore) {
    const std::size_t others = Announcements::standing();
    auto changes = std::make_unique<platform::AddressChanges>();
    ASSERT_EQ(others + 1, Announcements::standing()) << "from construction on";
    Announcements::announce();
    changes->wait();
    ASSERT_LE(1U, Announcements::standing()) << "the next request, ahead of the next wait";
    Announcements::announce();
    changes->wait();

    auto third = std::async(std::launch::async, [&] { changes->wait(); });
    EXPECT_EQ(std::future_status::timeout, third.wait_for(std::chrono::milliseconds(50))) << "none yet";
    Announcements::announce();
    third.get();

    while (Announcements::standing() < others + 1) {
        std::this_thread::yield();
    }
    changes.reset();
    EXPECT_EQ(others, Announcements::standing()) << "the system would write into memory that is gone";
}

TEST(AddressChanges, ReachTheListenersWithTokensThatDifferByOne) {
    if (Context::getInstance()->getContext(CONTEXT_DATA_DIR, "absent") != "absent") {
        GTEST_SKIP() << "this process watches already";
    }
    const vlox_test::UserSettings settings;
    const vlox_test::TempDir home;
    vlox_test::TokenListener listener;
    NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(&listener);
    ASSERT_EQ(0, initialize({0, 0, nullptr}, home.path().c_str(), 0));
    EXPECT_FALSE(listener.awaitTokens(1, std::chrono::milliseconds(100))) << "nothing is told at the start";
    for (std::size_t count = 1; count <= 3; ++count) {
        while (Announcements::standing() == 0) {
            std::this_thread::yield();
        }
        Announcements::announce();
        ASSERT_TRUE(listener.awaitTokens(count));
    }
    NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(&listener);
    const std::vector<long long> tokens = listener.tokens();
    EXPECT_GE(tokens[0], 0);
    EXPECT_LT(tokens[0], 10000);
    EXPECT_EQ((std::vector<long long>{tokens[0], tokens[0] + 1, tokens[0] + 2}), tokens);
}
