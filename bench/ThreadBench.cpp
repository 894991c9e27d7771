// Notification to wake-up: two threads that hand a turn to and fro.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vloxlib/task/TaskSweeper.h"
#include "vloxlib/thread/Windows/WindowsCondition.h"

namespace {

struct Library {
    vloxlib::WindowsMutex mutex;
    vloxlib::WindowsCondition condition;

    void wait() { condition.wait(mutex); }
    void notify() { condition.notifyOne(); }
    void lock() { mutex.lock(); }
    void unlock() { mutex.unLock(); }
};

struct Bare {
    std::mutex mutex;
    std::condition_variable condition;

    void wait() {
        std::unique_lock<std::mutex> held(mutex, std::adopt_lock);
        condition.wait(held);
        held.release();
    }
    void notify() { condition.notify_one(); }
    void lock() { mutex.lock(); }
    void unlock() { mutex.unlock(); }
};

template <typename Side>
class Game {
public:
    void play(int player, std::atomic<bool>& over) {
        std::lock_guard<Side> lock(m_side);
        while (m_turn != player && !over) {
            m_side.wait();
        }
        m_turn = 1 - player;
        m_side.notify();
    }
    void end(std::atomic<bool>& over) {
        std::lock_guard<Side> lock(m_side);
        over = true;
        m_side.notify();
    }

private:
    Side m_side;
    int m_turn = 0;
};

template <typename Side>
void notifyToWake(benchmark::State& state) {
    Game<Side> game;
    std::atomic<bool> over{false};
    std::thread other([&] {
        while (!over) {
            game.play(1, over);
        }
    });
    for (auto _ : state) {
        game.play(0, over);
    }
    game.end(over);
    other.join();
}

// Linear in their number: a tenth of the timers takes about a tenth of the time.
void addTimers(benchmark::State& state, int timers) {
    std::vector<std::shared_ptr<vloxlib::TaskItem>> items;
    for (int i = 0; i < timers; ++i) {
        items.push_back(std::make_shared<vloxlib::TaskItem>(std::to_string(i), i, nullptr));
    }
    for (auto _ : state) {
        vloxlib::TimerQueue queue;
        for (const auto& item : items) {
            queue.add(item);
        }
        benchmark::DoNotOptimize(queue);
    }
}

}  // namespace

BENCHMARK(notifyToWake<Library>)->Name("Thread/notify to wake of WindowsCondition/vlox")->UseRealTime();
BENCHMARK(notifyToWake<Bare>)->Name("Thread/notify to wake of WindowsCondition/bare")->UseRealTime();
BENCHMARK_CAPTURE(addTimers, tenThousand, 10000)->Name("Thread/10000 timers, against 1000/vlox");
BENCHMARK_CAPTURE(addTimers, oneThousand, 1000)->Name("Thread/10000 timers, against 1000/bare");
