#ifndef PLATFORM_ADDRESSCHANGES_H
#define PLATFORM_ADDRESSCHANGES_H

#include <memory>

namespace vloxlib::platform {

/// @brief Watches this machine's table of IP addresses, from construction on.
///
/// Threads: wait() from one at a time.
class AddressChanges {
public:
    AddressChanges();
    ~AddressChanges();
    AddressChanges(const AddressChanges&) = delete;
    AddressChanges& operator=(const AddressChanges&) = delete;

    /// @brief Returns after the next change, at once for one since the last call; a burst counts once.
    /// @return false when the system has ended the watching or refuses it: the next call tries again, and
    /// tells of what has changed by then
    bool wait();

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
