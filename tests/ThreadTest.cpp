#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "vloxlib/thread/Windows/Runnable.h"
#include "vloxlib/thread/Windows/WindowsCondition.h"
#include "vloxlib/thread/Windows/WindowsMutex.h"
#include "vloxlib/thread/Windows/WindowsThread.h"

using namespace vloxlib;

namespace {

// Holds a thread in its body until it is told to go on.
class Gate : public Runnable {
public:
    void work() override {
        ++runs;
        m_entered.set();
        m_open.wait();
    }
    void awaitEntry() { m_entered.wait(); }
    void open() { m_open.set(); }

    std::atomic<int> runs{0};

private:
    WindowsConditionInternal m_entered;
    WindowsConditionInternal m_open;
};

// Whether another thread has to wait for the mutex; that thread goes through, and ends, once it is free.
bool heldElsewhere(const WindowsMutex& mutex) {
    auto got = std::make_shared<std::promise<void>>();
    std::thread([shared = mutex, got] {
        WindowsMutexGuard lock(shared);
        got->set_value();
    }).detach();
    return got->get_future().wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
}

}  // namespace

TEST(WindowsThread, RunsOnceAndAgainAfterItsEnd) {
    Gate gate;
    WindowsThread thread(&gate);
    EXPECT_EQ(THREAD_STAT_NOT_STARTED, thread.getThreadStat());
    EXPECT_EQ(0UL, thread.getThreadHandle());
    for (int run = 1; run <= 2; ++run) {
        EXPECT_TRUE(thread.start());
        gate.awaitEntry();
        EXPECT_TRUE(thread.start()) << "a running thread is left alone";
        EXPECT_EQ(THREAD_STAT_RUNNING, thread.getThreadStat());
        EXPECT_NE(0UL, thread.getThreadHandle());
        gate.open();
        thread.join();
        EXPECT_EQ(THREAD_STAT_ENDED, thread.getThreadStat());
        EXPECT_EQ(run, gate.runs);
    }
}

TEST(WindowsThread, RunsAgainAsSoonAsItCountsAsEnded) {
    class Counter : public Runnable {
    public:
        void work() override { ++runs; }
        std::atomic<int> runs{0};
    };
    Counter counter;
    WindowsThread thread(&counter);
    for (int run = 1; run <= 100; ++run) {
        ASSERT_TRUE(thread.start());
        while (thread.getThreadStat() != THREAD_STAT_ENDED) {
            std::this_thread::yield();
        }
        ASSERT_EQ(run, counter.runs);
    }
    thread.join();
}

TEST(WindowsThread, JoinReturnsForEveryoneWhoAsks) {
    WindowsThread never;
    never.join();

    Gate gate;
    WindowsThread thread(&gate);
    ASSERT_TRUE(thread.start());
    gate.awaitEntry();
    const WindowsThread copy(thread);
    std::vector<std::future<void>> joiners;
    for (int i = 0; i < 3; ++i) {
        joiners.push_back(std::async(std::launch::async, [&] { thread.join(); }));
    }
    gate.open();
    for (auto& joiner : joiners) {
        joiner.get();
    }
    thread.join();
    WindowsThread(copy).join();
}

TEST(WindowsThread, EndsWithoutARunnable) {
    WindowsThread thread;
    EXPECT_TRUE(thread.start());
    thread.join();
    EXPECT_EQ(THREAD_STAT_ENDED, thread.getThreadStat());
}

TEST(WindowsMutex, ReentersAndNeedsAsManyReleases) {
    WindowsMutex mutex;
    mutex.lock();
    mutex.lock();
    mutex.unLock();
    {
        WindowsMutexUnlockGuard gap(mutex, true);
        EXPECT_FALSE(heldElsewhere(mutex));
    }
    EXPECT_TRUE(heldElsewhere(mutex));
    mutex.unLock();
}

TEST(WindowsMutex, CopiesShareOneLock) {
    WindowsMutex first;
    WindowsMutex second;
    second = first;
    {
        const WindowsMutex third(first);
        third.lock();
    }
    EXPECT_TRUE(heldElsewhere(second));
    first.unLock();
}

TEST(WindowsCondition, TimesOutWithTheMutexHeldAndForgetsUnheardNotifications) {
    WindowsMutex mutex;
    WindowsCondition condition;
    condition.notifyOne();
    condition.notifyAll();
    WindowsMutexGuard lock(mutex);
    EXPECT_EQ(-1, condition.timedWait(mutex, 0));
    EXPECT_TRUE(heldElsewhere(mutex));
}

TEST(WindowsCondition, WakesInTheOrderOfArrival) {
    constexpr int kWaiters = 8;
    WindowsMutex mutex;
    WindowsCondition condition;
    int waiting = 0;         // guarded by mutex
    std::vector<int> woken;  // guarded by mutex
    std::vector<std::thread> threads;
    const auto wokenCount = [&] {
        WindowsMutexGuard lock(mutex);
        return woken.size();
    };
    for (int i = 0; i < kWaiters; ++i) {
        threads.emplace_back([&, i] {
            WindowsMutexGuard lock(mutex);
            ++waiting;
            EXPECT_EQ(0, condition.wait(mutex));
            woken.push_back(i);
        });
        // Once the count is up and the mutex free, the waiter is in the queue.
        for (bool arrived = false; !arrived;) {
            std::this_thread::yield();
            WindowsMutexGuard lock(mutex);
            arrived = waiting == i + 1;
        }
    }
    for (std::size_t i = 1; i <= 3; ++i) {
        condition.notifyOne();
        while (wokenCount() < i) {
            std::this_thread::yield();
        }
    }
    EXPECT_EQ((std::vector<int>{0, 1, 2}), woken);
    condition.notifyAll();
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(static_cast<std::size_t>(kWaiters), woken.size());
}

TEST(WindowsConditionInternal, RemembersASignalAndResetsAsAsked) {
    WindowsConditionInternal automatic;
    automatic.set();
    EXPECT_TRUE(automatic.tryWait(0));
    EXPECT_FALSE(automatic.tryWait(0));

    WindowsConditionInternal manual(false);
    manual.set();
    EXPECT_TRUE(manual.tryWait(0));
    EXPECT_TRUE(manual.tryWait(0));
    manual.reset();
    EXPECT_FALSE(manual.tryWait(0));
}
