#ifndef PLATFORM_ADDRESSCHANGES_H
#define PLATFORM_ADDRESSCHANGES_H

#include <memory>

namespace vloxlib::platform {

/// @brief Watches this machine's table of IP addresses, from construction on.
///
/// Threads: wait() from one at a time. Errors: none are reported; where the table can't be watched, wait()
/// never ends.
class AddressChanges {
public:
    AddressChanges();
    ~AddressChanges();
    AddressChanges(const AddressChanges&) = delete;
    AddressChanges& operator=(const AddressChanges&) = delete;

    void
    wait();  ///< Returns after the next change, at once for one since the last call; a burst counts once.

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
