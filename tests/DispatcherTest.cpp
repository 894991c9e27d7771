#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

#include "support/LogCapture.h"
#include "support/StoreFixture.h"
#include "vloxlib/Context.h"
#include "vloxlib/task/ResultDispatcher.h"
#include "vloxlib/task/TaskDispatcher.h"

using namespace vloxlib;
using namespace vlox_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DispatcherTest : public StoreFixture {
protected:
    DispatcherTest() { Context::getInstance()->setContext(CONTEXT_DATA_DIR, m_dir.path()); }

    static std::shared_ptr<BaseTask> task(const std::string& id, int type = 8, int priority = 1) {
        return std::make_shared<BaseTask>(id, static_cast<TaskType>(type), QoS::qosRetryForever(),
                                          static_cast<TaskPriority>(priority));
    }
};

// Delivers results the way a module does: reads before it waits, removes what was handed over.
class Delivery : public ResultDispatcher {
public:
    explicit Delivery(const std::string& name) : ResultDispatcher(name) {}
    ~Delivery() override {
        stop();
        join();
    }
    // The id of the next result that the loop hands over, empty when there is none within 20 seconds.
    std::string next() {
        WindowsMutexGuard lock(m_received);
        while (m_ids.empty()) {
            if (m_arrived.timedWait(m_received, 20) != 0 && m_ids.empty()) {
                return {};
            }
        }
        std::string id = m_ids.front();
        m_ids.erase(m_ids.begin());
        return id;
    }

private:
    void run() override {
        WindowsMutexGuard lock(m_mutex);
        while (m_running) {
            std::vector<std::shared_ptr<BaseResult>> results;
            if (m_store->getMessageResult(results, 2) != SQLITE_OK) {
                m_condition.wait(m_mutex);
                continue;
            }
            std::vector<std::pair<std::string, ResultType>> delivered;
            for (const auto& result : results) {
                handOver(result->getResultId());
                delivered.emplace_back(result->getResultId(), result->getType());
            }
            removeMultiResultItems(delivered);
        }
    }
    void handOver(const std::string& id) {
        WindowsMutexGuard lock(m_received);
        m_ids.push_back(id);
        m_arrived.notifyOne();
    }

    WindowsMutex m_received;
    WindowsCondition m_arrived;
    std::vector<std::string> m_ids;  // guarded by m_received
};

// Opens what a subclass may use.
class Removal : public ResultDispatcher {
public:
    using ResultDispatcher::removeMultiResultItems;
    using ResultDispatcher::removeResultItem;
    using ResultDispatcher::ResultDispatcher;
};

}  // namespace

TEST_F(DispatcherTest, QueueOfAModule) {
    TaskDispatcher dispatcher("client");
    EXPECT_EQ(nullptr, dispatcher.getTask(8));
    EXPECT_FALSE(dispatcher.storeBaseTask(nullptr));
    EXPECT_TRUE(dispatcher.storeBaseTask(task("late", 8, 2)));
    EXPECT_FALSE(dispatcher.storeBaseTask(task("late", 8, 1))) << "a duplicate";
    EXPECT_TRUE(dispatcher.storeBaseTask(task("single", 16, 100)));
    EXPECT_TRUE(dispatcher.storeBaseTask(task("dropped", 16, 100)));
    EXPECT_EQ(nullptr, dispatcher.getTaskById("dropped"));
    EXPECT_TRUE(dispatcher.storeBaseTask(task("early", 8, 1)));

    TaskDispatcher other("client");  // all dispatchers of a name share one store
    const auto taken = other.getTask(8);
    ASSERT_NE(nullptr, taken);
    EXPECT_EQ("early", taken->getTaskId());
    EXPECT_EQ(TASK_STATUS_WAITING, taken->getStatus());
    TaskStatus status{};
    EXPECT_EQ(SQLITE_OK, dispatcher.getTaskStatus("early", status));
    EXPECT_EQ(TASK_STATUS_TAKEN, status);
    EXPECT_EQ(TASK_STATUS_TAKEN, dispatcher.getTaskById("early")->getStatus());

    EXPECT_THAT(dispatcher.getMultiTask(TASK_TYPE_FILE, 10), IsEmpty());
    std::vector<BaseTask> tasks;
    EXPECT_EQ(SQLITE_OK, dispatcher.getTasks(8 | 16, 10, tasks));
    EXPECT_THAT(idsOf(tasks), ElementsAre("late", "single"));
    EXPECT_EQ(SQLITE_DONE, dispatcher.updateTaskStatus(std::vector<std::string>{}, TASK_STATUS_WAITING));
    EXPECT_EQ(SQLITE_OK,
              dispatcher.updateTaskStatus(std::vector<std::string>{"late", "early"}, TASK_STATUS_WAITING));
    EXPECT_EQ(SQLITE_OK, dispatcher.updateTaskStatus("early", TASK_STATUS_TAKEN));
    EXPECT_EQ("late", dispatcher.getTask(8)->getTaskId());
    EXPECT_EQ(SQLITE_OK, dispatcher.updateTask("late", TASK_TYPE_FILE, "new", TASK_STATUS_WAITING));
    EXPECT_EQ("new", dispatcher.getTask(8)->getSerializedData());
    EXPECT_TRUE(dispatcher.removeTask("late"));
    EXPECT_TRUE(dispatcher.removeTask("unknown"));
    EXPECT_EQ(2, rows("table_task"));
}

TEST_F(DispatcherTest, KindsOneAndFourComeByTheListOrTheirId) {
    TaskDispatcher dispatcher("client");
    dispatcher.storeBaseTask(task("expiring", 1));
    EXPECT_EQ(nullptr, dispatcher.getTask(1));
    EXPECT_NE(nullptr, dispatcher.getTaskById("expiring"));
    std::vector<BaseTask> tasks;
    EXPECT_EQ(SQLITE_DONE, dispatcher.getTasks(1, 5, tasks));
    EXPECT_THAT(idsOf(tasks), ElementsAre("expiring"));
}

TEST_F(DispatcherTest, ResultsAreDeliveredInOrderAndOnce) {
    for (const char* id : {"a", "b", "c", "d"}) {
        addTask(id, 16);
    }
    Delivery delivery("client");
    delivery.sweepTask("b", 0);
    delivery.sweepTask("a", 0, "data");
    delivery.start();
    EXPECT_EQ("b", delivery.next()) << "what was there before the start";
    EXPECT_EQ("a", delivery.next());
    EXPECT_EQ(SQLITE_OK, delivery.sweepTasks({BaseResult("d", static_cast<ResultType>(16), "", 0, {}),
                                              BaseResult("c", static_cast<ResultType>(16), "", 0, {})}));
    EXPECT_EQ(SQLITE_DONE, delivery.sweepTask("a", 0));
    EXPECT_EQ(0, delivery.publishNotify());
    EXPECT_EQ("d", delivery.next());
    EXPECT_EQ("c", delivery.next());
    delivery.stop();
    delivery.join();
    EXPECT_EQ(THREAD_STAT_ENDED, delivery.getThreadStat());
    EXPECT_EQ(0, rows("table_result"));
}

TEST_F(DispatcherTest, StopWakesALoopThatWaits) {
    Delivery delivery("client");
    delivery.start();
    store().addResult("r", RESULT_TYPE_EXPIRING, "", 0, RESULT_STATUS_STORED, false);
    delivery.publishNotify();
    EXPECT_EQ("r", delivery.next()) << "or hangs in its destructor below";
}

TEST_F(DispatcherTest, BaseClassOnlySaysThatItIsNotMeantToRun) {
    const LogCapture log;
    ResultDispatcher dispatcher("client");
    dispatcher.start();
    dispatcher.join();
    dispatcher.join();
    EXPECT_EQ(THREAD_STAT_ENDED, dispatcher.getThreadStat());
    EXPECT_EQ(1, log.count("I", "subclass has not realize the method"));
    EXPECT_EQ(2, log.count("I", "called"));
    EXPECT_EQ(1, log.count("T", "called"));
}

TEST_F(DispatcherTest, RemovalReportsSuccessWhateverTheStoreSays) {
    Removal removal("client");
    const BaseResult result("r", RESULT_TYPE_FILE, "", 0, RESULT_STATUS_STORED);
    EXPECT_EQ(0, removal.removeResultItem(result)) << "gone";
    store().addResult(result, false);
    close();
    refuse("DELETE", "table_result");
    Removal refused("client");
    EXPECT_EQ(0, refused.removeResultItem(result));
    EXPECT_EQ(0, refused.removeMultiResultItems({{"r", RESULT_TYPE_FILE}}));
    EXPECT_EQ(0, refused.removeMultiResultItems({}));
    EXPECT_EQ(1, rows("table_result")) << "it stays and comes again";
}
