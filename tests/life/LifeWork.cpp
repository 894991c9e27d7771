// What a program does with the library between its start and its end, all of it at random.
#include <sys/wait.h>
#include <unistd.h>
#include <vlox_common.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace vloxlib;

namespace {

constexpr int kThreads = 4;
constexpr int kFailed = 4;
constexpr unsigned kChildLimit = 60;  // seconds, for one that hangs

class Module : public VloxModuleAbstract {
public:
    void onModuleRegistered(__int64) override {
        NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(&m_listener);
    }
    void onModuleUnregistered() override {
        NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(&m_listener);
    }
    bool acceptsCommand(int) override { return true; }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override {}
    void onNotificationCmd(int, int, const std::string&) override {}
    void onBusinessCmd(int, int, const std::string&) override { createVloxClient("app", "module"); }

private:
    struct Listener : NetworkChangedListener {
        Listener() : NetworkChangedListener(nullptr) {}
        void onNetworkChanged(const NetworkInfo&) override {
            VLOXBase::dispatchNotificationCmd(createVloxClient("app", "listener"), 0, 0, "");
        }
    } m_listener;
};

// The sanitizers of this compiler leave the locks of their memory as they are at a fork: who held one is gone
// in the child, whose next allocation then never ends.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kForks = false;
#else
constexpr bool kForks = true;
#endif

class Life {
public:
    Life(const std::string& directory, unsigned seed) : m_directory(directory), m_random(seed) {}

    bool live() {
        start();
        for (int number = 0; number < kThreads; ++number) {
            m_threads.emplace_back([this, seed = static_cast<unsigned>(m_random())] { work(seed); });
        }
        rest(20000);
        const pid_t child = kForks && m_random() % 2 == 0 ? fork() : -1;
        if (child == 0) {
            liveAsChild();
        }
        rest(10000);
        const bool over = end();
        if (child > 0) {
            mourn(child);
        }
        return over;
    }

private:
    void start() {
        const std::string logs = m_directory + "/log";
        if (initialize({2, 0, logs.c_str()}, m_directory.c_str(), 0) != 0) {
            std::_Exit(kFailed);
        }
    }
    void rest(unsigned longest) {
        std::this_thread::sleep_for(std::chrono::microseconds(m_random() % longest));
    }

    // Of the threads there is only this one; what they held is free.
    [[noreturn]] void liveAsChild() {
        alarm(kChildLimit);
        start();
        setConfigInt(createVloxClient("app", "account 0"), CONFIG_ENCRYPT_POLICY, 0);
        useModule("account 0");
        NetworkMonitor::getInstance()->notifyNetworkStatusChanged("{}");
        if (m_random() % 2 == 0) {
            destroySDK();
        }
        m_random() % 2 == 0 ? std::exit(0) : std::_Exit(0);
    }
    static void mourn(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        if (status != 0) {
            std::fprintf(stderr, "the child ended with %d\n", status);
            std::_Exit(kFailed);
        }
    }

    // @return whether nothing of this library runs any more.
    bool end() {
        const auto way = m_random() % 5;
        if (way == 0) {  // main returns
            return false;
        }
        if (way == 1) {
            std::thread([] { std::exit(0); }).join();
        }
        if (way == 2) {
            static const struct AtTheEnd {
                ~AtTheEnd() { destroySDK(); }
            } atTheEnd;
            return false;
        }
        if (way == 3) {
            destroySDK();
        }
        m_goOn = false;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        std::thread other(destroySDK);
        collect_sdk_log((m_directory + "/collected").c_str(), 0, 1LL << 40);
        destroySDK();
        other.join();
        return true;
    }

    void work(unsigned seed) {
        std::mt19937 random(seed);
        const std::string account = "account " + std::to_string(seed % 3);
        while (m_goOn) {
            switch (random() % 8) {
                case 0:
                    useClient(account);
                    break;
                case 1:
                    useModule(account);
                    break;
                case 2:
                    NetworkMonitor::getInstance()->notifyNetworkStatusChanged(R"({"networkType":1})");
                    break;
                case 3:
                    useTimer();
                    break;
                case 4:
                    useSweeper();
                    break;
                case 5:
                    useStore(std::to_string(random()));
                    break;
                case 6:
                    collect_sdk_log((m_directory + "/collected").c_str(), 0, 1LL << 40);
                    break;
                default:
                    for (auto lines = random() % 50; lines > 0; --lines) {
                        VLOX_LOG(static_cast<int>(random() % 5), "line %lu of %s", lines, account.c_str());
                    }
            }
        }
    }

    void useClient(const std::string& account) const {
        const __int64 client = createVloxClient("app", account.c_str());
        setConfigInt(client, CONFIG_ENCRYPT_POLICY, 0);
        const auto helper = HttpHelper::getInstance(VLOXBase::getUserInfo(client));
        EncryptBridge::getInstance(account)->initial();
        if (Context::getInstance()->getContext(CONTEXT_DATA_DIR, "") != m_directory) {
            std::_Exit(kFailed);
        }
        VLOXBase::releaseClient(client);
    }
    static void useModule(const std::string& account) {
        const __int64 client = createVloxClient("app", account.c_str());
        auto* const module = new Module;
        VLOXBase::registerModule(client, module);
        VLOXBase::dispatchBusinessCmd(client, 0, 0, "");
        VLOXBase::unregisterModule(client, module);
        delete module;
    }
    static void useTimer() {
        std::atomic<int> runs{0};
        Timer timer([&] { return ++runs > 0; }, nullptr, 3600, false);
        timer.exec(true);
        timer.exec(true);
    }
    static void useSweeper() {
        TimeoutTaskSweeper sweeper;
        sweeper.start();
        sweeper.addTask(std::make_shared<TaskItem>("task", 0, [](const std::string&) {}));
        sweeper.stop();
        sweeper.join();
    }
    static void useStore(const std::string& id) {
        TaskDispatcher tasks("life");
        auto task = std::make_shared<BaseTask>();
        task->setTaskId(id);
        tasks.storeBaseTask(task);
        tasks.removeTask(id);
    }

    const std::string m_directory;
    std::mt19937 m_random;
    std::atomic<bool> m_goOn{true};
    std::vector<std::thread> m_threads;
};

}  // namespace

// Never destroyed: the threads go on where main just returns.
extern "C" bool __attribute__((visibility("default"))) live(const char* directory, unsigned seed) {
    static auto& life = *new Life(directory, seed);
    return life.live();
}
