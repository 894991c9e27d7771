#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/LogCapture.h"
#include "vloxlib/network/NetworkChangedListener.h"
#include "vloxlib/network/NetworkInfo.h"
#include "vloxlib/network/NetworkMonitor.h"

using namespace vloxlib;

namespace {

NetworkInfo info(int type, const std::string& address, __int64 timestamp) {
    NetworkInfo made;
    made.setNetworkType(type);
    made.setIpAddress(address);
    made.setTimestamp(timestamp);
    return made;
}

std::string json(int type, const std::string& address) {
    return R"({"networkType":)" + std::to_string(type) + R"(,"ipAddress":")" + address + R"("})";
}

// Hears everything unless a strategy is given, and keeps what it was asked and told. Registered while it
// lives.
class Recorder : public NetworkChangedListener {
public:
    explicit Recorder(
        std::shared_ptr<NetworkChangedNoStrategy> strategy = std::make_shared<NetworkChangedNoStrategy>())
        : NetworkChangedListener(std::move(strategy)) {
        NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(this);
    }
    ~Recorder() { NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(this); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void onNetworkChanged(const NetworkInfo& current) override { told.push_back(current.getIPAddress()); }
    bool needPrompt(const NetworkInfo& current, const NetworkInfo& last) override {
        lastSeen = last;
        return NetworkChangedListener::needPrompt(current, last);
    }

    NetworkInfo lastSeen;
    std::vector<std::string> told;
};

void notify(const std::string& text) { NetworkMonitor::getInstance()->notifyNetworkStatusChanged(text); }

}  // namespace

TEST(NetworkStrategies, DecideWhatIsWorthTelling) {
    NetworkChangedNoStrategy everything;
    NetworkChangedStrategy network;
    NetworkChangedStrategyConcernIPvariation address;
    NetworkChangedStrategyConcernNoNetworkDuration gap(30);
    NetworkChangedStrategyComprehensive both(30);
    struct Row {
        const char* why;
        NetworkInfo current;
        NetworkInfo last;
        bool network, address, gap, both;
    };
    const Row rows[] = {
        {"no network, though all else differs", info(0, "b", 1000), info(1, "a", 0), false, false, false,
         false},
        {"nothing new", info(1, "a", 100), info(1, "a", 100), true, false, false, false},
        {"a new address", info(1, "b", 100), info(1, "a", 100), true, true, false, true},
        {"another case is another address", info(1, "FE80", 100), info(1, "fe80", 100), true, true, false,
         true},
        {"a gap of exactly the threshold", info(1, "a", 130), info(1, "a", 100), true, false, false, false},
        {"one second more", info(1, "a", 131), info(1, "a", 100), true, false, true, true},
        {"an unknown kind of network", info(-3, "a", 131), info(0, "a", 100), true, false, true, true},
        {"the clock went back", info(1, "a", 0), info(1, "a", 100), true, false, false, false},
        {"times beyond all measure wrap", info(1, "a", INT64_MAX), info(1, "a", INT64_MIN), true, false,
         false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_TRUE(everything.needPrompt(row.current, row.last));
        EXPECT_EQ(row.network, network.needPrompt(row.current, row.last));
        EXPECT_EQ(row.address, address.needPrompt(row.current, row.last));
        EXPECT_EQ(row.gap, gap.needPrompt(row.current, row.last));
        EXPECT_EQ(row.both, both.needPrompt(row.current, row.last));
    }
    gap.setThreshold(-1);
    EXPECT_TRUE(gap.needPrompt(info(1, "a", 100), info(1, "a", 100))) << "the threshold has a sign";
}

TEST(NetworkStrategies, ComprehensiveStopsAtTheFirstYes) {
    vlox_test::LogCapture log;
    NetworkChangedStrategyComprehensive both;
    EXPECT_TRUE(both.needPrompt(info(1, "b", 100), info(1, "a", 100)));
    EXPECT_EQ(0, log.count("hasNoNetworkDuration="));
    EXPECT_EQ(1, log.count("T", "lastIpAddress=a, currentIpAddress=b"));
    EXPECT_FALSE(both.needPrompt(info(1, "a", 160), info(1, "a", 100)));
    EXPECT_EQ(1, log.count("T", "hasNoNetworkDuration=60"));
    EXPECT_EQ(3, log.count("T", "currentNetworkType=1"))
        << "the common base's test runs once per strategy asked";
}

TEST(NetworkInfo, TakesEachMemberThatIsThereWithItsType) {
    struct Row {
        const char* why;
        const char* json;
        int type;
        const char* address;
        bool enabled;
    };
    const Row rows[] = {
        {"whole", R"({"networkType":3,"ipAddress":"1.2.3.4","isNetworkInterfaceEnabled":true})", 3, "1.2.3.4",
         true},
        {"nothing", "{}", 0, "", false},
        {"no JSON", "{", 0, "", false},
        {"no text at all", "", 0, "", false},
        {"no object", R"(["networkType",1])", 0, "", false},
        {"other types", R"({"networkType":"1","ipAddress":[],"isNetworkInterfaceEnabled":1})", 0, "", false},
        {"any number is a kind", R"({"networkType":-7,"ipAddress":null})", -7, "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const __int64 before = std::time(nullptr);
        const NetworkInfo read = NetworkInfo::fromJson(row.json);
        EXPECT_EQ(row.type, read.getNetworkType());
        EXPECT_EQ(row.address, read.getIPAddress());
        EXPECT_EQ(row.enabled, read.isNetworkInterfaceStateEnabled());
        EXPECT_GE(read.getTimestamp(), before);
        EXPECT_LE(read.getTimestamp(), std::time(nullptr));
    }
}

TEST(NetworkMonitor, KeepsTheLastGoodNetworkAndItsOwnTime) {
    Recorder recorder;
    notify(json(2, "good"));
    EXPECT_EQ(2, NetworkMonitor::getNetworkType());

    const std::time_t goodAt = std::time(nullptr);
    while (std::time(nullptr) == goodAt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    notify(json(0, "lost"));
    EXPECT_EQ(NETWORK_TYPE_NONE, NetworkMonitor::getNetworkType());
    EXPECT_EQ("lost", NetworkMonitor::getInstance()->getCurrentNetworkInfo().getIPAddress());
    EXPECT_EQ("good", recorder.lastSeen.getIPAddress());

    const __int64 lostAt = NetworkMonitor::getInstance()->getCurrentNetworkInfo().getTimestamp();
    notify("no JSON");
    EXPECT_EQ("good", recorder.lastSeen.getIPAddress()) << "a lost network doesn't replace the last good one";
    EXPECT_EQ(lostAt, recorder.lastSeen.getTimestamp()) << "but moves its time";
    EXPECT_EQ(2, recorder.lastSeen.getNetworkType());
    EXPECT_EQ((std::vector<std::string>{"good", "lost", ""}), recorder.told)
        << "no JSON is a notification too";
}

TEST(NetworkMonitor, UpdatesWithoutListenersAndAssumesANetworkAtFirst) {
    if (NetworkMonitor::getInstance()->getCurrentNetworkInfo().getTimestamp() == 0) {
        EXPECT_EQ(NETWORK_TYPE_CONNECTED, NetworkMonitor::getNetworkType());
    }
    notify(json(5, "alone"));
    EXPECT_EQ("alone", NetworkMonitor::getInstance()->getCurrentNetworkInfo().getIPAddress());
}

TEST(NetworkMonitor, TellsEachListenerOnceAndThroughItsStrategy) {
    Recorder silent(std::make_shared<NetworkChangedStrategyConcernIPvariation>());
    Recorder byDefault(std::make_shared<NetworkChangedStrategyComprehensive>());
    Recorder withoutStrategy(nullptr);
    NetworkMonitor& monitor = *NetworkMonitor::getInstance();
    monitor.registerNetworkStatusChangedListener(&byDefault);
    monitor.registerNetworkStatusChangedListener(nullptr);
    notify(json(1, "first"));
    notify(json(1, "first"));
    notify(json(0, ""));
    EXPECT_EQ((std::vector<std::string>{"first"}), silent.told);
    EXPECT_EQ((std::vector<std::string>{"first"}), byDefault.told) << "registered twice, told once";
    EXPECT_EQ((std::vector<std::string>{"first", "first", ""}), withoutStrategy.told);

    monitor.unregisterNetworkStatusChangedListener(&silent);
    monitor.unregisterNetworkStatusChangedListener(&silent);
    monitor.unregisterNetworkStatusChangedListener(nullptr);
    notify(json(1, "second"));
    EXPECT_EQ(1U, silent.told.size());
    EXPECT_EQ((std::vector<std::string>{"first", "second"}), byDefault.told);
}

TEST(NetworkMonitor, AListenerThatThrowsEndsNothing) {
    class Thrower : public NetworkChangedListener {
    public:
        explicit Thrower(bool early) : NetworkChangedListener(nullptr), m_early(early) {}
        void onNetworkChanged(const NetworkInfo& /*current*/) override { throw 7; }
        bool needPrompt(const NetworkInfo& /*current*/, const NetworkInfo& /*last*/) override {
            return m_early ? throw std::runtime_error("refused") : true;
        }

    private:
        const bool m_early;
    };
    const vlox_test::LogCapture log;
    Thrower early(true);
    Thrower late(false);
    NetworkMonitor& monitor = *NetworkMonitor::getInstance();
    monitor.registerNetworkStatusChangedListener(&early);
    monitor.registerNetworkStatusChangedListener(&late);
    Recorder recorder;
    notify(json(1, "first"));
    notify(json(0, "second"));
    monitor.unregisterNetworkStatusChangedListener(&early);
    monitor.unregisterNetworkStatusChangedListener(&late);
    EXPECT_EQ((std::vector<std::string>{"first", "second"}), recorder.told);
    EXPECT_EQ("first", recorder.lastSeen.getIPAddress());
    EXPECT_EQ(2, log.count("E", "a network listener failed: refused"));
    EXPECT_EQ(4, log.count("E", "a network listener failed"));
}

TEST(NetworkMonitor, RemovalWaitsForANotificationThatRuns) {
    class Slow : public NetworkChangedListener {
    public:
        Slow() : NetworkChangedListener(nullptr) {}
        void onNetworkChanged(const NetworkInfo& /*current*/) override {
            entered.set_value();
            goOn.get_future().wait();
            done = true;
        }
        std::promise<void> entered;
        std::promise<void> goOn;
        std::atomic<bool> done{false};
    };
    Slow slow;
    NetworkMonitor& monitor = *NetworkMonitor::getInstance();
    monitor.registerNetworkStatusChangedListener(&slow);
    std::thread notifier([] { notify(json(1, "slow")); });
    slow.entered.get_future().wait();

    EXPECT_EQ("slow", monitor.getCurrentNetworkInfo().getIPAddress()) << "who only reads doesn't wait";
    auto removal = std::async(std::launch::async, [&] {
        monitor.unregisterNetworkStatusChangedListener(&slow);
        return slow.done.load();
    });
    EXPECT_EQ(std::future_status::timeout, removal.wait_for(std::chrono::milliseconds(50)));
    slow.goOn.set_value();
    EXPECT_TRUE(removal.get());
    notifier.join();
}

TEST(NetworkMonitor, IsReadWhileItIsFed) {
    std::thread feeder([] {
        for (int round = 0; round < 300; ++round) {
            notify(json(1 + round % 2, std::string(40, 'x')));
        }
    });
    for (int round = 0; round < 300; ++round) {
        Recorder recorder;
        const NetworkInfo& current = NetworkMonitor::getInstance()->getCurrentNetworkInfo();
        EXPECT_TRUE(current.getIPAddress().size() == 40 || current.getNetworkType() <= 5);
        EXPECT_GE(NetworkMonitor::getNetworkType(), 0);
    }
    feeder.join();
}
