#include "platform/Fork.h"

#include <pthread.h>

#include <utility>

namespace vloxlib::platform {

namespace {

// Never destroyed: a fork may come while the process goes down.
ForkHandlers& handlers() {
    static auto& only = *new ForkHandlers;
    return only;
}

}  // namespace

void onFork(ForkHandlers given) {
    handlers() = std::move(given);
    pthread_atfork([] { handlers().before(); }, [] { handlers().inParent(); }, [] { handlers().inChild(); });
}

}  // namespace vloxlib::platform
