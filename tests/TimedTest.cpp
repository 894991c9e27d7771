#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vloxlib/task/BackOffMode.h"
#include "vloxlib/task/TaskSweeper.h"
#include "vloxlib/thread/Timer.h"

using namespace vloxlib;

namespace {

int64 inSeconds(int seconds) { return static_cast<int64>(std::time(nullptr)) + seconds; }

// Notes the ids that fired, in order, and lets the test wait for so many of them.
class Firings {
public:
    std::shared_ptr<TaskItem> item(const std::string& id, int seconds) {
        return std::make_shared<TaskItem>(id, inSeconds(seconds),
                                          [this](const std::string& fired) { note(fired); });
    }
    std::vector<std::string> await(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_ids.size() >= count; });
        return m_ids;
    }

private:
    void note(const std::string& id) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ids.push_back(id);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_ids;
};

using Ids = std::vector<std::string>;

std::string takeId(TimerQueue& queue) {
    const auto item = queue.take(0);
    return item ? item->getTaskId() : "";
}

// Runs a sweeper for the length of a scope.
class Started {
public:
    explicit Started(TimeoutTaskSweeper& sweeper) : m_sweeper(sweeper) { sweeper.start(); }
    ~Started() {
        m_sweeper.stop();
        m_sweeper.join();
        m_sweeper.join();
    }

private:
    TimeoutTaskSweeper& m_sweeper;
};

}  // namespace

TEST(BackOffMode, ExponentGrowsToItsMaximumAndStartsAnewAfterASuccess) {
    ExponentBackOffMode mode(3, 30);
    for (const int expected : {0, 2, 4, 8, 8}) {
        EXPECT_EQ(expected, mode.getNextTime(false));
    }
    mode.setNextTime(77);
    EXPECT_EQ(30, mode.getNextTime(true));
    EXPECT_EQ(0, mode.getNextTime(false));
    mode.reset();
    EXPECT_EQ(0, mode.getNextTime(false));

    ExponentBackOffMode wrapping(33, 30);
    wrapping.getNextTime(false);
    for (int step = 1; step < 32; ++step) {
        wrapping.getNextTime(false);
    }
    EXPECT_EQ(1, wrapping.getNextTime(false)) << "the 32nd exponent wraps to 0";
}

TEST(BackOffMode, RandomStaysBetweenOneStepAndTheNext) {
    for (int round = 0; round < 50; ++round) {
        ExponentRandomBackOffMode mode(3, 30);
        const int bounds[][2] = {{0, 2}, {2, 4}, {4, 8}, {8, 8}, {8, 8}};
        for (const auto& [low, high] : bounds) {
            const int next = mode.getNextTime(false);
            EXPECT_LE(low, next);
            EXPECT_GE(high, next);
        }
        EXPECT_EQ(30, mode.getNextTime(true));
    }
}

TEST(BackOffMode, FixedIntervalWaitsAnHourAfterASuccess) {
    FixedIntervalBackOffMode mode(5);
    EXPECT_EQ(5, mode.getNextTime(false));
    EXPECT_EQ(3600, mode.getNextTime(true));
    mode.setNextTime(7);
    mode.reset();
    EXPECT_EQ(7, mode.getNextTime(false));
}

TEST(TimerQueue, KeepsTheOrderOfMomentsAndOfArrival) {
    Firings firings;
    TimerQueue queue;
    for (const auto& [id, seconds] : {std::pair{"b1", -5}, {"c", -1}, {"a", -9}, {"b2", -5}, {"b3", -5}}) {
        queue.add(firings.item(id, seconds));
    }
    for (const char* expected : {"a", "b1", "b2", "b3", "c"}) {
        EXPECT_EQ(expected, takeId(queue));
        EXPECT_EQ(expected, takeId(queue)) << "taking leaves it on the list";
        queue.remove(expected);
    }
    EXPECT_EQ("", takeId(queue));
}

TEST(TimerQueue, RemovesTheHeadAloneOrAllBehindIt) {
    Firings firings;
    TimerQueue queue;
    queue.remove("nothing there");
    queue.add(nullptr);
    for (const auto& [id, seconds] : {std::pair{"x", -9}, {"y", -8}, {"x", -7}, {"x", -6}}) {
        queue.add(firings.item(id, seconds));
    }
    queue.remove("x");
    EXPECT_EQ("y", takeId(queue));
    queue.remove("x");
    queue.remove("y");
    EXPECT_EQ("", takeId(queue)) << "both that stood behind another head went at once";
}

TEST(TimerQueue, WaitsLongerThanThirtyTwoBitsOfMillisecondsCount) {
    Firings firings;
    TimerQueue queue;
    queue.add(firings.item("far", 12884902));  // 112 ms behind three times that many
    auto taken = std::async(std::launch::async, [&] { return queue.take(0); });
    EXPECT_EQ(std::future_status::timeout, taken.wait_for(std::chrono::seconds(1)));
    queue.remove("far");
    queue.notify();
    EXPECT_EQ(nullptr, taken.get());
}

TEST(TimeoutTaskSweeper, EndsWheneverItIsStopped) {
    for (int round = 0; round < 200; ++round) {
        TimeoutTaskSweeper sweeper;
        std::atomic<bool> fired{false};
        sweeper.addTask(std::make_shared<TaskItem>("past", 0, [&](const std::string&) { fired = true; }));
        sweeper.start();
        while (!fired) {
        }
        for (std::atomic<int> spin{round}; spin > 0; --spin) {  // as long as it takes to go back to waiting
        }
        sweeper.stop();
        sweeper.join();
    }
}

// Whether the sweeper waits for an item yet can't be seen from outside. The two tests give it a moment, and
// try again where the machine was too busy for that to be enough.

TEST(TimeoutTaskSweeper, FiresInOrderAndLate) {
    bool late = false;
    for (int attempt = 0; attempt < 5 && !late; ++attempt) {
        Firings firings;
        TimeoutTaskSweeper sweeper;
        Started started(sweeper);
        sweeper.addTask(firings.item("past", -3));
        ASSERT_EQ(Ids({"past"}), firings.await(1));
        sweeper.addTask(firings.item("awaited", 2));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        sweeper.addTask(firings.item("in front", -1));
        late = firings.await(3) == Ids({"past", "awaited", "in front"});
    }
    EXPECT_TRUE(late) << "what comes in front of an awaited item does not end the wait";
}

TEST(TimeoutTaskSweeper, DoesNotFireACancelledHead) {
    for (int attempt = 0; attempt < 5; ++attempt) {
        Firings firings;
        TimeoutTaskSweeper sweeper;
        Started started(sweeper);
        const int64 moment = inSeconds(2);
        sweeper.addTask(firings.item("cancelled", 2));
        sweeper.addTask(firings.item("next", 2));
        sweeper.addTask(std::make_shared<TaskItem>("own", inSeconds(2), [&](const std::string& id) {
            sweeper.cancelTask(id);
            sweeper.addTask(firings.item("from a handler", 0));
        }));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        sweeper.cancelTask("cancelled");
        const bool inTime = inSeconds(0) < moment;
        const Ids fired = firings.await(2);
        if (inTime) {
            EXPECT_EQ(Ids({"next", "from a handler"}), fired) << "it has to look at the list anew";
            return;
        }
    }
    FAIL() << "each time the head's moment had come before it was cancelled";
}

TEST(Timer, EndsWithItsFirstSuccessWhereAskedTo) {
    std::atomic<int> runs{0};
    std::promise<void> succeeded;
    // The first failure's interval is nothing, so that the second run, a success, comes at once.
    Timer timer(std::make_shared<ExponentBackOffMode>(0, 0), 0, true);
    timer.setProc([&] {
        if (++runs == 2) {
            succeeded.set_value();
        }
        return runs == 2;
    });
    ASSERT_TRUE(timer.start());
    succeeded.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    timer.yiledAndWait();
    EXPECT_EQ(2, runs) << "it went on though it had succeeded";
}

TEST(Timer, BeginsAWholeRunBehindEachExec) {
    constexpr long kLimit = 60000;
    for (const bool stopOnSuccess : {false, true}) {
        WindowsConditionInternal entered;
        WindowsConditionInternal goOn;
        const auto proc = [&] {
            entered.set();
            goOn.wait();
            return true;
        };
        Timer timer(proc, std::make_shared<FixedIntervalBackOffMode>(5), 3600, stopOnSuccess);
        ASSERT_TRUE(timer.exec(true));
        ASSERT_TRUE(timer.exec(true)) << "right behind the first, whose delay it ends";
        ASSERT_TRUE(entered.tryWait(kLimit));
        ASSERT_TRUE(timer.exec(false)) << "in the midst of a run";
        goOn.set();
        ASSERT_TRUE(entered.tryWait(kLimit));
        timer.setDelay(0);
        timer.yiled();
        ASSERT_TRUE(timer.exec(false)) << "while a stop is on its way";
        goOn.set();
        ASSERT_TRUE(entered.tryWait(kLimit));
        goOn.set();
    }
}

TEST(Timer, GoesAwayThoughItNeverRan) {
    Timer(nullptr, std::make_shared<FixedIntervalBackOffMode>(5), 0, false);
    Timer stopped(nullptr, nullptr, 3600, false);
    stopped.setNextBeat(5);
    stopped.yiled();
    EXPECT_TRUE(stopped.start()) << "a stop that came first ends the thread before its first run";

    std::promise<void> ran;
    Timer kicked(
        [&] {
            ran.set_value();
            return true;
        },
        nullptr, 0, true);
    kicked.yiled();
    EXPECT_TRUE(kicked.exec(true));
    EXPECT_EQ(std::future_status::ready, ran.get_future().wait_for(std::chrono::seconds(60)));
}
