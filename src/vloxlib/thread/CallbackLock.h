#ifndef VLOXLIB_THREAD_CALLBACKLOCK_H
#define VLOXLIB_THREAD_CALLBACKLOCK_H

#include <optional>
#include <thread>

namespace vloxlib {

/// @brief The two locks of the process that are held while the library calls what isn't its own: modules, and
/// network listeners. Each re-enters.
///
/// A listener may call a module, and a module may register or unregister a listener, each with its own lock
/// held. So that neither waits for the other: while the thread that holds the modules' lock waits for the
/// listeners', the one that holds the listeners' is let in among the modules in its place. In the child of a
/// fork both are free, unless the thread that forked held them.
class CallbackLock {
public:
    static CallbackLock& modules();
    static CallbackLock& listeners();

    /// @brief Holds one of them for the length of a scope.
    class Held {
    public:
        explicit Held(CallbackLock& lock) : m_lock(lock) { m_lock.lock(); }
        ~Held() { m_lock.unlock(); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

    private:
        CallbackLock& m_lock;
    };

    /// The calling thread, which ends the process and won't leave its scopes, holds neither any more.
    static void giveBackAll();

    CallbackLock(const CallbackLock&) = delete;
    CallbackLock& operator=(const CallbackLock&) = delete;

private:
    struct Both;
    struct Holder {
        std::thread::id thread;
        int depth = 0;
        bool waitsForListeners = false;
    };

    CallbackLock() = default;

    static Both& both();
    void lock();
    void unlock();
    bool tryLock();
    bool isHeldHere() const;
    bool isMine() const;
    void forgetOthers();

    std::optional<Holder> m_holder;
    std::optional<Holder> m_lender;  // waits for the listeners' lock, and so for the holder
};

}  // namespace vloxlib

#endif
