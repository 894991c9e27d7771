#ifndef APP_CLIENT_H
#define APP_CLIENT_H

#include <rapidjson/document.h>
#include <vloxlib/Types.h>

#include <functional>
#include <string>

#include "Options.h"

namespace vloxlib {
class VloxModuleAbstract;
}

namespace app {

/// One client of the library with a module in it, from construction to destruction. One per process.
class Client {
public:
    /// @param platform what the platform tells about itself: its address and its keys, as JSON
    /// @param makeModule called once the client is configured
    /// Throws std::runtime_error.
    Client(const Options& options, const std::string& platform,
           const std::function<vloxlib::VloxModuleAbstract*()>& makeModule);
    /// Waits for what the module has under way.
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    __int64 id() const { return m_id; }

private:
    void configure(const std::string& platform, const Options& options) const;
    void configureTls(const rapidjson::Value& tls, Transport transport) const;
    void configureCrypto(const rapidjson::Value& told, const Crypto& crypto) const;

    __int64 m_id = -1;
    vloxlib::VloxModuleAbstract* m_module = nullptr;  // the library's once it is loaded
};

}  // namespace app

#endif
