#ifndef APP_CLIENT_H
#define APP_CLIENT_H

#include <messages/Messages.h>

#include <string>

#include "Options.h"

namespace app {

/// One client of the library with the message module in it, from construction to destruction. One per
/// process.
class Client {
public:
    /// @param platform what the platform tells about itself: its address and its keys, as JSON
    /// Throws std::runtime_error.
    Client(const Options& options, const std::string& platform, MessagesListener listener, void* context);
    /// Waits for the requests under way.
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void command(MessagesCommand command, const std::string& json) const;

private:
    void configure(const std::string& platform, const Crypto& crypto) const;

    __int64 m_id = -1;
    vloxlib::VloxModuleAbstract* m_module = nullptr;  // the library's once it is loaded
};

}  // namespace app

#endif
