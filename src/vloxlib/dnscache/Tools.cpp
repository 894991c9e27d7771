#include "vloxlib/dnscache/Tools.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

HOSTPORT Tools::getHOSTPORT(const std::string& url) {
    HOSTPORT result;
    try {
        const Poco::URI uri(url);
        result.host = uri.getHost();
        result.port = uri.getPort();
    } catch (const Poco::SyntaxException&) {
        VLOX_LOG(4, " uri: %s is not valid", url.c_str());
    }
    return result;
}

}  // namespace vloxlib
