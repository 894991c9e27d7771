// All that the library calls, and all that may be called from there, on several threads at once: the
// sanitizer for threads names locks that are taken in two orders, and a hang is a hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/DataDir.h"
#include "support/LogCapture.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/network/NetworkChangedListener.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "vloxlib/task/BackOffMode.h"
#include "vloxlib/task/TaskDispatcher.h"
#include "vloxlib/task/TaskSweeper.h"
#include "vloxlib/thread/Timer.h"
#include "win32/VLOXBase.h"
#include "win32/VloxModuleAbstract.h"
#include "win32/vloxCommonlib.h"

using namespace vloxlib;

namespace {

using Call = std::function<void()>;

constexpr int kAsked = 1;
constexpr int kCommanded = 2;

// What the next callback of the kind on this thread is to do.
thread_local std::pair<std::string, const Call*> s_next;

void inCallback(const std::string& kind) {
    if (s_next.first == kind && s_next.second != nullptr) {
        (*std::exchange(s_next.second, nullptr))();
    }
}

class Module : public VloxModuleAbstract {
public:
    void onModuleRegistered(__int64 /*clientId*/) override { inCallback("onModuleRegistered"); }
    void onModuleUnregistered() override { inCallback("onModuleUnregistered"); }
    bool acceptsCommand(int target) override {
        inCallback("acceptsCommand");
        return target == kCommanded;
    }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override { inCallback("event"); }
    void onNotificationCmd(int, int, const std::string&) override { inCallback("notification"); }
    void onBusinessCmd(int, int, const std::string&) override { inCallback("business"); }
};

class Listener : public NetworkChangedListener {
public:
    Listener() : NetworkChangedListener(nullptr) {}
    void onNetworkChanged(const NetworkInfo&) override { inCallback("onNetworkChanged"); }
    bool needPrompt(const NetworkInfo&, const NetworkInfo&) override {
        inCallback("needPrompt");
        return true;
    }
};

void notify() { NetworkMonitor::getInstance()->notifyNetworkStatusChanged("{}"); }

void loadAndUnload(__int64 client) {
    auto* const module = new Module;
    loadModule(client, module);
    unloadModule(client, module);
}

// On another thread, without any lock.
void runTimed(const Call& call) {
    std::promise<void> done;
    Timer timer(
        [&] {
            call();
            done.set_value();
            return true;
        },
        nullptr, 0, true);
    timer.exec(true);
    done.get_future().wait();
}

std::vector<std::pair<std::string, Call>> callbacks(__int64 client) {
    return {{"onModuleRegistered", [=] { loadAndUnload(client); }},
            {"onModuleUnregistered", [=] { loadAndUnload(client); }},
            {"acceptsCommand", [=] { VLOXBase::dispatchBusinessCmd(client, kAsked, 0, ""); }},
            {"event", [=] { VLOXBase::onSdkEvent(client, kCommanded, "", 0, ""); }},
            {"notification", [=] { VLOXBase::dispatchNotificationCmd(client, kCommanded, 0, ""); }},
            {"business", [=] { VLOXBase::dispatchBusinessCmd(client, kCommanded, 0, ""); }},
            {"release", [] { VLOXBase::releaseClient(0); }},
            {"needPrompt", notify},
            {"onNetworkChanged", notify}};
}

std::vector<Call> calls(__int64 client, TimeoutTaskSweeper& sweeper) {
    return {[=] { loadAndUnload(client); },
            [=] { VLOXBase::dispatchBusinessCmd(client, kCommanded, 0, ""); },
            [=] { VLOXBase::onSdkEvent(client, kAsked, "", 0, ""); },
            [] { VLOXBase::releaseClient(createVloxClient("app", "passing")); },
            [=] { setConfigInt(client, CONFIG_MODULE_FLAG_32, getConfigInt(client, CONFIG_MODULE_FLAG_37)); },
            [=] { VLOXBase::setLogin(client, !VLOXBase::isLogin(client)); },
            [=] { VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, ""); },
            notify,
            [] {
                Listener listener;
                NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(&listener);
                NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(&listener);
            },
            [] { NetworkMonitor::getInstance()->getCurrentNetworkInfo(); },
            [&] {
                sweeper.addTask(std::make_shared<TaskItem>("id", 0, [](const std::string&) {}));
                sweeper.cancelTask("id");
            },
            [=] { HttpHelper::getInstance(VLOXBase::getUserInfo(client)); },
            [] { EncryptBridge::getInstance("locks"); },
            [] { TaskDispatcher("locks").getTaskById("none"); },
            [] { VLOX_LOG(4, "%d", Context::getInstance()->getContext(CONTEXT_DEVICE_TYPE, 0)); }};
}

}  // namespace

TEST(LockOrder, IsOneForAllPairsOfCallbacksAndCalls) {
    const vlox_test::DataDir dataDir;
    const vlox_test::LogCapture log;
    const __int64 client = createVloxClient("app", "locks");
    VLOXBase::registerReleaseFunc([](__int64) {
        inCallback("release");
        return 0;
    });
    Module module;
    VLOXBase::registerModule(client, &module);
    Listener listener;
    NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(&listener);
    TimeoutTaskSweeper sweeper;
    sweeper.start();
    std::vector<std::future<void>> walks;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        walks.push_back(std::async(std::launch::async, [&, seed] {
            std::vector<Call> pairs;
            for (const auto& [kind, trigger] : callbacks(client)) {
                for (const Call& call : calls(client, sweeper)) {
                    pairs.push_back([kind = kind, trigger = trigger, call] {
                        s_next = {kind, &call};
                        trigger();
                        EXPECT_EQ(nullptr, s_next.second) << kind << " never came";
                    });
                }
            }
            std::shuffle(pairs.begin(), pairs.end(), std::mt19937(seed));
            for (const Call& pair : pairs) {
                pair();
            }
        }));
    }
    for (auto& walk : walks) {
        walk.get();
    }
    for (const Call& call : calls(client, sweeper)) {
        runTimed(call);
    }
    sweeper.stop();
    sweeper.join();
    NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(&listener);
    VLOXBase::unregisterModule(client, &module);
    VLOXBase::releaseClient(client);
}
