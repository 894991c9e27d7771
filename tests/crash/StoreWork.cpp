#include "crash/Work.h"

#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vloxlib/database/Sqlite3Functions.h"

using namespace vloxlib;

namespace vlox_test {

namespace {

constexpr TaskType kMessage = static_cast<TaskType>(16);
constexpr TaskType kFile = static_cast<TaskType>(8);
constexpr int kAnyTask = 24;
constexpr int kBatch = 20;

class Worker {
public:
    Worker(Sqlite3Functions& store, std::string generation)
        : m_store(store), m_generation(std::move(generation)), m_random(std::random_device{}()) {}

    // Storing outweighs the rest a little, so that there is always something to take.
    [[noreturn]] void run() {
        for (;;) {
            switch (m_random() % 9) {
                case 0:
                case 1:
                    addOne();
                    break;
                case 2:
                case 3:
                    addFile();
                    break;
                case 4:
                    sweepNext();
                    break;
                case 5:
                    sweepSeveral();
                    break;
                case 6:
                    addResults();
                    break;
                case 7:
                    submitMessages();
                    break;
                default:
                    deliver();
            }
        }
    }
    void addOne() {
        const std::string id = newId();
        acknowledge("add " + id, [&] {
            return m_store.addTask(id, kMessage, QoS::qosRetryForever(), priority(), "payload of " + id);
        });
    }

private:
    std::string newId() { return m_generation + "-" + std::to_string(++m_count); }
    TaskPriority priority() { return static_cast<TaskPriority>(1 + m_random() % 9); }

    void addFile() {
        const std::string id = newId();
        acknowledge("addFile " + id, [&] {
            return m_store.addFileTask(id, kFile, QoS::qosRetryForever(), priority(), "{}",
                                       "digest of " + id);
        });
    }
    void sweepNext() {
        BaseTask task;
        if (m_store.getTask(task, kAnyTask, static_cast<TaskStatus>(0)) != 0) {
            return;
        }
        const std::string id = task.getTaskId();
        acknowledge("sweep " + id, [&] {
            return task.getTaskType() == kFile ? m_store.sweepFileTask(id, 0, "done", true)
                                               : m_store.sweepTask(id, 0, "done");
        });
    }
    void sweepSeveral() {
        std::vector<BaseTask> tasks;
        if (m_store.getTask(tasks, kMessage, static_cast<TaskStatus>(0), kBatch) != 0) {
            return;
        }
        std::string ids;
        std::vector<BaseResult> results;
        for (const BaseTask& task : tasks) {
            ids += task.getTaskId() + " ";
            results.emplace_back(task.getTaskId(), static_cast<ResultType>(kMessage), "done", 0,
                                 static_cast<ResultStatus>(0));
        }
        acknowledge("sweep " + ids, [&] { return m_store.sweepTasks(results); });
    }
    void addResults() {
        std::string ids;
        std::vector<BaseResult> results;
        for (int i = 0; i < kBatch; ++i) {
            const std::string id = newId();
            ids += id + " ";
            results.emplace_back(id, static_cast<ResultType>(kMessage), "received", 0,
                                 static_cast<ResultStatus>(0));
        }
        acknowledge("addResults " + ids, [&] { return m_store.addResult(results, false); });
    }
    // Each message brings its id and one command along.
    void submitMessages() {
        std::string ids;
        std::vector<BaseResult> results;
        std::map<std::string, int64> msgIds;
        CMDInfoItemSet commands;
        for (int i = 0; i < kBatch; ++i) {
            const std::string id = newId();
            ids += id + " ";
            results.emplace_back(id, static_cast<ResultType>(kMessage), "received", 0,
                                 static_cast<ResultStatus>(0));
            msgIds.emplace(id, i);
            commands.insert(std::make_shared<CMDInfoItem>("read", id, 1, "sender", "", ""));
        }
        acknowledge("submit " + ids, [&] {
            return m_store.submitBatchMessage(0, results, commands, msgIds, m_count, m_count);
        });
    }
    void deliver() {
        std::vector<std::shared_ptr<BaseResult>> results;
        if (m_store.getMessageResult(results, 2 * kBatch) != 0) {
            return;
        }
        std::string ids;
        std::vector<std::pair<std::string, ResultType>> delivered;
        for (const auto& result : results) {
            ids += result->getResultId() + " ";
            delivered.emplace_back(result->getResultId(), result->getType());
        }
        acknowledge("deliver " + ids, [&] { return m_store.deleteResult(delivered); });
    }

    Sqlite3Functions& m_store;
    const std::string m_generation;
    int m_count = 0;
    std::mt19937 m_random;
};

}  // namespace

void workStore(const std::string& directory, const std::string& generation) {
    const bool duel = generation.rfind("duel", 0) == 0;
    if (std::string order; duel) {
        std::cin >> order;
    }
    Sqlite3Functions& store = *Sqlite3Functions::getSqliteInstance(directory.c_str(), "crash");
    store.resetTaskStatus();
    tell("ok open");
    if (duel) {
        Worker(store, generation).addOne();
    }
    if (duel || generation == "idle") {
        std::this_thread::sleep_for(std::chrono::hours(1));
        return;
    }
    Worker(store, generation).run();
}

}  // namespace vlox_test
