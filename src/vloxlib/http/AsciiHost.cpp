#include "vloxlib/http/AsciiHost.h"

#include <Poco/Exception.h>
#include <Poco/Net/DNS.h>

#include <algorithm>

namespace vloxlib {

namespace {

constexpr char kBehindScheme[] = "://";

}  // namespace

std::string withAsciiHost(const std::string& url) {
    const std::size_t scheme = url.find(kBehindScheme);
    if (scheme == std::string::npos) {
        return url;
    }
    std::size_t begin = scheme + sizeof kBehindScheme - 1;
    std::size_t end = std::min(url.find_first_of("/?#", begin), url.size());
    const std::size_t user = url.rfind('@', end);
    if (user != std::string::npos && user >= begin && user < end) {
        begin = user + 1;
    }
    end = std::min(url.find(':', begin), end);
    const std::string host = url.substr(begin, end - begin);
    if (!Poco::Net::DNS::isIDN(host)) {
        return url;
    }
    try {
        return std::string(url).replace(begin, end - begin, Poco::Net::DNS::encodeIDN(host));
    } catch (const Poco::Exception&) {
        return url;
    }
}

}  // namespace vloxlib
