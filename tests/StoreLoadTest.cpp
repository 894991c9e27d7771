#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/StoreFixture.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

constexpr int kThreads = 32;
constexpr int kRounds = 8;
constexpr auto kMessage = static_cast<TaskType>(16);

// What all threads together did with one store.
struct Account {
    std::mutex mutex;
    int stored = 0;
    std::multiset<std::string> taken;
    std::set<std::string> delivered;  // by several threads, maybe: delivery is at least once
};

void addOne(Sqlite3Functions& store, const std::string& id, Account& account) {
    const int rc = store.addTask(id, kMessage, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT, "payload");
    EXPECT_EQ(SQLITE_OK, rc);
    const std::lock_guard<std::mutex> lock(account.mutex);
    account.stored += rc == SQLITE_OK;
}

void takeAndSweep(Sqlite3Functions& store, Account& account) {
    std::vector<BaseTask> tasks;
    if (store.getTask(tasks, kMessage, TASK_STATUS_WAITING, 2) != SQLITE_OK) {
        return;
    }
    for (const BaseTask& task : tasks) {
        EXPECT_EQ(SQLITE_OK, store.sweepTask(task.getTaskId(), 0));
        const std::lock_guard<std::mutex> lock(account.mutex);
        account.taken.insert(task.getTaskId());
    }
}

void deliverSome(Sqlite3Functions& store, Account& account) {
    std::vector<std::shared_ptr<BaseResult>> results;
    store.getMessageResult(results, 2);
    for (const auto& result : results) {
        EXPECT_EQ(SQLITE_OK, store.deleteResult(result->getResultId(), result->getType()));
        const std::lock_guard<std::mutex> lock(account.mutex);
        account.delivered.insert(result->getResultId());
    }
}

class StoreLoadTest : public StoreFixture {
protected:
    void loadStores(int stores) {
        std::vector<Account> accounts(static_cast<std::size_t>(stores));
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                const int client = thread % stores;
                Account& account = accounts[static_cast<std::size_t>(client)];
                for (int round = 0; round < kRounds; ++round) {
                    Sqlite3Functions& mine =
                        *Sqlite3Functions::getSqliteInstance(m_dir.path().c_str(), std::to_string(client));
                    addOne(mine, std::to_string(thread) + "/" + std::to_string(round), account);
                    takeAndSweep(mine, account);
                    deliverSome(mine, account);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (int client = 0; client < stores; ++client) {
            settle(std::to_string(client), accounts[static_cast<std::size_t>(client)],
                   kThreads / stores * kRounds);
        }
    }
    void settle(const std::string& name, const Account& account, int expected) {
        SCOPED_TRACE("client " + name);
        Sqlite3Functions::releaseSqliteInstance(m_dir.path().c_str(), name);
        const RawDatabase file(m_dir.path(name + ".db"));
        const auto count = [&](const std::string& table) {
            return static_cast<std::size_t>(std::stoul(file.values("SELECT count(*) FROM " + table).front()));
        };
        EXPECT_EQ(expected, account.stored);
        EXPECT_EQ(account.taken.size(),
                  std::set<std::string>(account.taken.begin(), account.taken.end()).size())
            << "a task was handed out twice";
        EXPECT_EQ(static_cast<std::size_t>(expected), count("table_task") + account.taken.size());
        EXPECT_EQ(account.taken.size(), count("table_result") + account.delivered.size());
        EXPECT_EQ("ok", file.values("PRAGMA integrity_check").front());
    }
};

}  // namespace

TEST_F(StoreLoadTest, ManyThreadsOverOneStore) { loadStores(1); }

TEST_F(StoreLoadTest, ManyThreadsOverManyClients) { loadStores(16); }
