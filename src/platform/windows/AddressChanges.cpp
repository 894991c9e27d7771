#include "platform/AddressChanges.h"

#include <winsock2.h>

#include <iphlpapi.h>

#include "platform/windows/Handle.h"

namespace vloxlib::platform {

namespace {

// The system writes into it until it is answered.
struct Request {
    const Handle answered{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    OVERLAPPED words{};

    // @return false when there will be no answer.
    bool ask() {
        words = OVERLAPPED{};
        words.hEvent = answered.get();
        HANDLE source = nullptr;  // the system's own, not to be closed
        return answered && NotifyAddrChange(&source, &words) == ERROR_IO_PENDING;
    }
    void await() const { WaitForSingleObject(answered.get(), INFINITE); }
};

}  // namespace

// A request stands from construction on, and a new one as soon as one is answered: so no change falls between
// two calls of wait().
struct AddressChanges::Native {
    std::unique_ptr<Request> request = std::make_unique<Request>();
    bool pending = request->ask();

    Native() = default;
    ~Native() {
        if (!pending) {
            return;
        }
        if (CancelIPChangeNotify(&request->words) != FALSE) {
            request->await();
        } else {
            request.release();  // the system's for good
        }
    }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
};

AddressChanges::AddressChanges() : m_native(std::make_unique<Native>()) {}

AddressChanges::~AddressChanges() = default;

bool AddressChanges::wait() {
    const bool watched = m_native->pending;
    if (watched) {
        m_native->request->await();
    }
    m_native->pending = m_native->request->ask();
    return watched || m_native->pending;  // what has changed while nobody watched isn't known
}

}  // namespace vloxlib::platform
