#include "vloxlib/dnscache/PocoLocalDns.h"

#include <Poco/Exception.h>
#include <Poco/Net/DNS.h>
#include <Poco/Net/HostEntry.h>

#include <set>

#include "platform/InetAddress.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IP.h"

namespace vloxlib {

namespace {

std::shared_ptr<HttpDnsPack> packOf(const std::string& domain,
                                    const Poco::Net::HostEntry::AddressList& addresses) {
    auto pack = std::make_shared<HttpDnsPack>(domain);
    std::set<std::string> seen;
    for (const Poco::Net::IPAddress& address : addresses) {
        const std::string text = address.toString();
        if (platform::isInetAddress(text) && seen.insert(text).second) {
            pack->dns.push_back(std::make_shared<IP>());
            pack->dns.back()->ip = text;
        }
    }
    return pack;
}

}  // namespace

std::shared_ptr<HttpDnsPack> PocoLocalDns::requestDns(std::string domain) {
    try {
        const Poco::Net::HostEntry entry = Poco::Net::DNS::hostByName(domain);
        return entry.addresses().empty() ? nullptr : packOf(domain, entry.addresses());
    } catch (const Poco::Exception& failure) {
        DNSCacheLog::getInstance()->log(DNSCACHE_TRACE_INFORMATION, "PocoLocalDns",
                                        "requestDns exception, code=%d, message=%s", failure.code(),
                                        failure.message().c_str());
        return nullptr;
    }
}

}  // namespace vloxlib
