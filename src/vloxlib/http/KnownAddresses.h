#ifndef VLOXLIB_HTTP_KNOWNADDRESSES_H
#define VLOXLIB_HTTP_KNOWNADDRESSES_H

#include <atomic>

#include "vloxlib/InstancesHolder.h"
#include "vloxlib/thread/Windows/WindowsCondition.h"
#include "vloxlib/thread/Windows/WindowsMutex.h"

namespace vloxlib {

/// @brief Whether a client knows where its services are, and those who wait for it. One for an account.
///
/// Held by the account's ServerAddrManager, which says so, and by its HttpHelper, with whose life the
/// knowledge goes. Threads: any.
struct KnownAddresses : Noncopyable {
    explicit KnownAddresses(const UserInfo&) {}

    static InstancesHolder<KnownAddresses>& instances() {
        static auto* const holder = new InstancesHolder<KnownAddresses>;  // never destroyed: threads may ask
        return *holder;
    }

    std::atomic<bool> exist{false};  // written under the mutex
    WindowsMutex mutex;              // held for a whole query
    WindowsCondition condition;
};

}  // namespace vloxlib

#endif
