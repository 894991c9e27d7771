#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"
#include "vloxlib/Context.h"
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/task/ResultDispatcher.h"
#include "vloxlib/task/TaskDispatcher.h"

using namespace vloxlib;
using vlox_test::TempDir;

namespace {

constexpr int kThreads = 32;
constexpr int kTasksPerThread = 20;
constexpr auto kKind = static_cast<TaskType>(16);

// Delivers the results of one store and counts each id.
class Delivery : public ResultDispatcher {
public:
    explicit Delivery(const std::string& name) : ResultDispatcher(name) {}

    // Only after join().
    const std::map<std::string, int>& delivered() const { return m_delivered; }

private:
    void run() override {
        WindowsMutexGuard lock(m_mutex);
        while (true) {
            std::vector<std::shared_ptr<BaseResult>> results;
            if (m_store->getMessageResult(results, 50) == 0) {
                deliver(results);
            } else if (m_running) {
                m_condition.wait(m_mutex);
            } else {
                return;
            }
        }
    }
    void deliver(const std::vector<std::shared_ptr<BaseResult>>& results) {
        std::vector<std::pair<std::string, ResultType>> done;
        for (const auto& result : results) {
            ++m_delivered[result->getResultId()];
            done.emplace_back(result->getResultId(), result->getType());
        }
        EXPECT_EQ(0, removeMultiResultItems(done));
    }

    std::map<std::string, int> m_delivered;
};

// One client's store with what works on it.
struct Client {
    explicit Client(const std::string& name) : tasks(name), delivery(name) { delivery.start(); }

    void store(const std::string& id) {
        const auto task =
            std::make_shared<BaseTask>(id, kKind, QoS::qosRetryForever(), static_cast<TaskPriority>(1));
        task->setSerializedData("payload of " + id);
        EXPECT_TRUE(tasks.storeBaseTask(task));
    }
    // Takes one task, whoever stored it, and closes it. False: there was none.
    bool work() {
        const auto task = tasks.getTask(kKind);
        if (!task) {
            return false;
        }
        EXPECT_EQ(0, delivery.sweepTask(task->getTaskId(), 0))
            << task->getTaskId() << " was handed out twice";
        delivery.publishNotify();
        return true;
    }

    TaskDispatcher tasks;
    Delivery delivery;
};

// Threads store and take over all clients at once; in the end each task has come out exactly once.
void storeTakeAndDeliver(int clientCount) {
    const TempDir dir;
    Context::getInstance()->setContext(CONTEXT_DATA_DIR, dir.path());
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < clientCount; ++i) {
        clients.push_back(std::make_unique<Client>("client" + std::to_string(i)));
    }
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kTasksPerThread; ++i) {
                const auto client = static_cast<std::size_t>(thread + i) % clients.size();
                clients[client]->store(std::to_string(thread) + "-" + std::to_string(i));
                clients[(client + 1) % clients.size()]->work();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::size_t delivered = 0;
    for (const auto& client : clients) {
        while (client->work()) {
        }
        client->delivery.stop();
        client->delivery.join();
        for (const auto& [id, times] : client->delivery.delivered()) {
            EXPECT_EQ(1, times) << id;
        }
        delivered += client->delivery.delivered().size();
    }
    EXPECT_EQ(static_cast<std::size_t>(kThreads * kTasksPerThread), delivered);
    for (int i = 0; i < clientCount; ++i) {
        Sqlite3Functions::releaseSqliteInstance(dir.path().c_str(), "client" + std::to_string(i));
    }
}

}  // namespace

TEST(Stress, ThirtyTwoThreadsOverOneStore) { storeTakeAndDeliver(1); }

TEST(Stress, ThirtyTwoThreadsOverSixteenClients) { storeTakeAndDeliver(16); }
