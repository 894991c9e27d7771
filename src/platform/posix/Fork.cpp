#include "platform/Fork.h"

#include <pthread.h>

#include <deque>
#include <mutex>
#include <utility>

namespace vloxlib::platform {

namespace {

// Never destroyed: a fork may come while the process goes down.
struct Handlers {
    std::mutex mutex;  // held across a fork, so that both sides find whole handlers
    std::deque<ForkHandlers> all;
};

Handlers& handlers() {
    static auto& only = *new Handlers;
    return only;
}

// What was set last rests on what was set before, and so is stopped first and goes on last.
void before() {
    handlers().mutex.lock();
    for (auto place = handlers().all.rbegin(); place != handlers().all.rend(); ++place) {
        place->before();
    }
}

void after(const std::function<void()> ForkHandlers::*side) {
    for (const ForkHandlers& each : handlers().all) {
        (each.*side)();
    }
    handlers().mutex.unlock();
}

}  // namespace

void onFork(ForkHandlers given) {
    const std::lock_guard<std::mutex> lock(handlers().mutex);
    if (handlers().all.empty()) {
        pthread_atfork(
            before, [] { after(&ForkHandlers::inParent); }, [] { after(&ForkHandlers::inChild); });
    }
    handlers().all.push_back(std::move(given));
}

}  // namespace vloxlib::platform
