#include "vloxlib/dnscache/Tools.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

// A URL for the log: user information and query may hold passwords and tokens.
std::string withoutSecrets(const std::string& url) {
    std::string shown = url.substr(0, url.find_first_of("?#"));
    const std::size_t scheme = shown.find("://");
    const std::size_t host = scheme == std::string::npos ? 0 : scheme + 3;
    const std::size_t user = shown.rfind('@', shown.find('/', host));
    if (user != std::string::npos && user >= host) {
        shown.erase(host, user + 1 - host);
    }
    return shown;
}

}  // namespace

HOSTPORT Tools::getHOSTPORT(const std::string& url) {
    HOSTPORT result;
    try {
        const Poco::URI uri(url);
        result.host = uri.getHost();
        result.port = uri.getPort();
    } catch (const Poco::SyntaxException&) {
        VLOX_LOG(4, " uri: %s is not valid", withoutSecrets(url).c_str());
    }
    return result;
}

}  // namespace vloxlib
