#include "platform/AddressChanges.h"

#include <winsock2.h>

#include <iphlpapi.h>

#include "platform/windows/Handle.h"

namespace vloxlib::platform {

// A request stands from construction on, and a new one as soon as one is answered: so no change falls between
// two calls of wait().
struct AddressChanges::Native {
    const Handle changed{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    OVERLAPPED request{};
    bool pending = false;

    Native() { ask(); }
    // The system writes into the request until it is answered.
    ~Native() {
        if (pending && CancelIPChangeNotify(&request) != FALSE) {
            WaitForSingleObject(changed.get(), INFINITE);
        }
    }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    void ask() {
        request = OVERLAPPED{};
        request.hEvent = changed.get();
        HANDLE source = nullptr;  // the system's own, not to be closed
        pending = changed && NotifyAddrChange(&source, &request) == ERROR_IO_PENDING;
    }
};

AddressChanges::AddressChanges() : m_native(std::make_unique<Native>()) {}

AddressChanges::~AddressChanges() = default;

void AddressChanges::wait() {
    if (!m_native->pending) {
        Sleep(INFINITE);
    }
    WaitForSingleObject(m_native->changed.get(), INFINITE);
    m_native->ask();
}

}  // namespace vloxlib::platform
