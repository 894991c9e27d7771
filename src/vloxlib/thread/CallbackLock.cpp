#include "vloxlib/thread/CallbackLock.h"

#include <memory>
#include <utility>
#include <vector>

#include "platform/Fork.h"
#include "vloxlib/thread/Windows/WindowsCondition.h"
#include "vloxlib/thread/Windows/WindowsMutex.h"

namespace vloxlib {

// Never destroyed: threads of the modules may still run when the process ends.
struct CallbackLock::Both {
    CallbackLock modules;
    CallbackLock listeners;
    WindowsMutex mutex;                                      // guards both; held for moments only
    std::vector<std::unique_ptr<WindowsCondition>> changed;  // the last one counts

    Both() {
        changed.push_back(std::make_unique<WindowsCondition>());
        platform::onFork({[this] { mutex.lock(); }, [this] { mutex.unLock(); },
                          [this] {
                              // Those that waited are gone, though the condition still knows them.
                              changed.push_back(std::make_unique<WindowsCondition>());
                              modules.forgetOthers();
                              listeners.forgetOthers();
                              mutex.unLock();
                          }});
    }
};

CallbackLock::Both& CallbackLock::both() {
    static auto& only = *new Both;
    return only;
}

CallbackLock& CallbackLock::modules() { return both().modules; }

CallbackLock& CallbackLock::listeners() { return both().listeners; }

void CallbackLock::lock() {
    WindowsMutexGuard guard(both().mutex);
    while (!tryLock()) {
        if (this == &listeners() && modules().isMine() && !modules().m_holder->waitsForListeners) {
            modules().m_holder->waitsForListeners = true;
            both().changed.back()->notifyAll();
        }
        both().changed.back()->wait(both().mutex);
    }
    if (this == &listeners() && modules().isMine()) {
        modules().m_holder->waitsForListeners = false;
    }
}

bool CallbackLock::isHeldHere() const {
    WindowsMutexGuard guard(both().mutex);
    return isMine();
}

bool CallbackLock::isMine() const { return m_holder && m_holder->thread == std::this_thread::get_id(); }

bool CallbackLock::tryLock() {
    if (isMine()) {
        ++m_holder->depth;
        return true;
    }
    if (m_holder && !(m_holder->waitsForListeners && listeners().isMine())) {
        return false;
    }
    m_lender = std::exchange(m_holder, Holder{std::this_thread::get_id(), 1, false});
    return true;
}

void CallbackLock::unlock() {
    WindowsMutexGuard guard(both().mutex);
    if (--m_holder->depth == 0) {
        m_holder = std::exchange(m_lender, std::nullopt);
        both().changed.back()->notifyAll();
    }
}

void CallbackLock::giveBackAll() {
    for (CallbackLock* const lock : {&listeners(), &modules()}) {
        while (lock->isHeldHere()) {
            lock->unlock();
        }
    }
}

void CallbackLock::forgetOthers() {
    m_lender.reset();
    if (!isMine()) {
        m_holder.reset();
    }
}

}  // namespace vloxlib
