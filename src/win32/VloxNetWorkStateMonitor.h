#ifndef WIN32_VLOXNETWORKSTATEMONITOR_H
#define WIN32_VLOXNETWORKSTATEMONITOR_H

#include <vloxlib/Export.h>
#include <vloxlib/thread/Windows/Runnable.h>

namespace vloxlib {

/// @brief Body of the thread that notifies NetworkMonitor of each change of this machine's addresses.
///
/// The notification has no address but a token, which is one more on each event, and always tells of a
/// network. Life: without end; nothing that it touches is destroyed before the process is gone.
class VLOX_API NetWorkStateMonitor : public Runnable {
public:
    void work() override;  ///< Doesn't return.
};

}  // namespace vloxlib

#endif
