#include "platform/RecursiveLock.h"

#include <pthread.h>

#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "platform/Fork.h"

namespace vloxlib::platform {

struct RecursiveLock::Native {
    std::recursive_mutex mutex;
    pthread_t owner{};  // of the last who took it; guarded by mutex, as is the next one
    int depth = 0;
};

namespace {

using Refresh = void (*)(RecursiveLock&);

// All locks of the process, for the child of a fork: whoever held one there is gone. Never destroyed, as
// there are locks that aren't.
class AllLocks {
public:
    explicit AllLocks(Refresh refresh) {
        onFork({[this] { m_mutex.lock(); }, [this] { m_mutex.unlock(); },
                [this, refresh] {
                    m_mutex.unlock();  // the child's only thread is this one
                    for (RecursiveLock* const lock : m_locks) {
                        refresh(*lock);
                    }
                }});
    }
    void add(RecursiveLock* lock) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_locks.insert(lock);
    }
    void remove(RecursiveLock* lock) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_locks.erase(lock);
    }

private:
    std::mutex m_mutex;
    std::set<RecursiveLock*> m_locks;  // guarded by m_mutex
};

AllLocks& allLocks(Refresh refresh) {
    static auto& only = *new AllLocks(refresh);
    return only;
}

}  // namespace

RecursiveLock::RecursiveLock() : m_native(std::make_unique<Native>()) { allLocks(refresh).add(this); }

RecursiveLock::~RecursiveLock() { allLocks(refresh).remove(this); }

void RecursiveLock::lock() {
    m_native->mutex.lock();
    m_native->owner = pthread_self();
    ++m_native->depth;
}

void RecursiveLock::unlock() {
    --m_native->depth;
    m_native->mutex.unlock();
}

// In the child. The thread that forked keeps what it holds, under its new number.
void RecursiveLock::refresh(RecursiveLock& lock) {
    Native& before = *lock.m_native;
    if (before.depth == 0 && before.mutex.try_lock()) {
        before.mutex.unlock();
        return;
    }
    const int held = pthread_equal(before.owner, pthread_self()) != 0 ? before.depth : 0;
    static auto& lockedForEver = *new std::vector<std::unique_ptr<Native>>;  // and so not to be destroyed
    lockedForEver.push_back(std::exchange(lock.m_native, std::make_unique<Native>()));
    for (int time = 0; time < held; ++time) {
        lock.lock();
    }
}

}  // namespace vloxlib::platform
