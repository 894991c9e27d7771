#include <gtest/gtest.h>

#include <ctime>

#include "vloxlib/task/BaseResult.h"
#include "vloxlib/task/BaseTask.h"

using namespace vloxlib;

TEST(QoS, IsRebuiltFromStoredNumbers) {
    struct Row {
        const char* why;
        int level;
        int parameter;
        int levelBack;
        int parameterBack;
    };
    const Row rows[] = {
        {"a retry level has no parameter of its own", 1, 7, 1, 60},
        {"nor has the other one", 2, -1, 2, 60},
        {"only once keeps it", 3, 7, 3, 7},
        {"a time-out keeps it, negative too", 4, -7, 4, -7},
        {"unknown below the range", 0, 7, 1, 60},
        {"unknown above the range", 5, 7, 1, 60},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const QoS qos = QoS::makeQos(static_cast<QoS::QoSLevel>(row.level), row.parameter);
        EXPECT_EQ(row.levelBack, qos.getQosLevel());
        EXPECT_EQ(row.parameterBack, qos.getQosParameter());
    }
    const int* const constants[] = {&QoS::defaultNetworkTimeout, &QoS::defaultServiceTimeout};
    EXPECT_EQ(15, *constants[0]);
    EXPECT_EQ(60, *constants[1]);
}

TEST(BaseTask, IsAchievedByItsQuality) {
    struct Row {
        const char* why;
        QoS qos;
        int runs;
        int lastResult;
        int64 age;
        bool achieved;
    };
    const QoS forever = QoS::qosRetryForever();
    const QoS process = QoS::qosRetryProcess();
    const QoS once = QoS::qosOnlyOnce(100);
    const QoS timeout = QoS::qosRetryUtilTimeout(100);
    const Row rows[] = {
        {"a fresh task has not succeeded", forever, 0, -1, 0, false},
        {"a failed one neither, however old", process, 9, 7, 1000000, false},
        {"0 is success", forever, 1, 0, 0, true},
        {"so is 3", process, 1, 3, 0, true},
        {"once is owed one run", once, 0, -1, 1000000, false},
        {"and no second one", once, 1, 7, 0, true},
        {"success needs no count", once, 0, 3, 0, true},
        {"not yet expired", timeout, 5, 7, 98, false},
        {"expired", timeout, 0, -1, 101, true},
        {"success before the time-out", timeout, 1, 0, 0, true},
        {"an age that no 64 bits hold", timeout, 0, -1, 0x7fffffffffffffffLL, true},
        {"created in the farthest future", timeout, 0, -1, -0x7fffffff00000000LL, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        BaseTask task("id", TASK_TYPE_FILE, row.qos, TASK_PRIORITY_DEFAULT);
        task.setCreateTime(std::time(nullptr) - row.age);
        task.updateLastExcuteResult(static_cast<GeneralTaskResult>(row.lastResult));
        for (int run = 0; run < row.runs; ++run) {
            task.increaseExcuteTime();
        }
        EXPECT_EQ(row.achieved, task.isQosAchieved());
    }
}

TEST(BaseTask, ExpiresOneSecondAfterItsLimit) {
    BaseTask task("id", TASK_TYPE_FILE, QoS::qosRetryUtilTimeout(100), TASK_PRIORITY_DEFAULT);
    for (;;) {  // both answers have to fall into one second of the clock
        const std::time_t now = std::time(nullptr);
        task.setCreateTime(now - 100);
        const bool atTheLimit = task.isQosAchieved();
        task.setCreateTime(now - 101);
        const bool behindIt = task.isQosAchieved();
        if (now == std::time(nullptr)) {
            EXPECT_FALSE(atTheLimit);
            EXPECT_TRUE(behindIt);
            return;
        }
    }
}

TEST(BaseTask, DefaultsAndCopiesEveryField) {
    BaseTask task;
    EXPECT_EQ(TASK_TYPE_FILE, task.getTaskType());
    EXPECT_EQ(QoS::QOS_ONLY_ONCE, task.getQoS().getQosLevel());
    EXPECT_EQ(15, task.getQoS().getQosParameter());
    EXPECT_EQ(TASK_RESULT_NOT_RUN, task.getResult());
    task.getTaskIds().push_back("part");
    task.increaseExcuteTime();
    task.updateLastExcuteResult(static_cast<GeneralTaskResult>(77));
    BaseTask copy;
    copy = task;
    EXPECT_EQ(std::vector<std::string>{"part"}, copy.getTaskIds());
    EXPECT_EQ(1, copy.getExcuteTime());
    EXPECT_EQ(77, copy.getResult());
}

TEST(Records, PrintThemselvesInPlaceOfWhatWasThere) {
    BaseTask task("t'1", static_cast<TaskType>(16), QoS::qosRetryUtilTimeout(9), TASK_PRIORITY_SINGLETON);
    task.setSerializedData("{\"a\":1}");
    task.setCreateTime(-5);
    task.setStatus(TASK_STATUS_TAKEN);
    std::string text = "old";
    EXPECT_EQ(&text, &task.toString(text));
    EXPECT_EQ("taskId:t'1,taskType:16,qos:4,qos_param:9,priority:100,data:{\"a\":1},createTime:-5,status:1",
              text);

    BaseResult result("r", RESULT_TYPE_FILE, "data", 65, static_cast<ResultStatus>(2));
    EXPECT_EQ("resultId:r,type:8,data:data,returnCode:A,status:2,completeTime:" +
                  std::to_string(result.getCompleteTime()),
              result.toString(text));
    EXPECT_EQ('\0', BaseResult().toString(text)[std::string("resultId:,type:8,data:,returnCode:").size()])
        << "the code is one character, also when it ends C strings";
}
