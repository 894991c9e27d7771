#include "vloxlib/http/PinnedAddress.h"

#include <mutex>

#include "platform/InetAddress.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/dnscache/Tools.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"

namespace vloxlib {

namespace {

// Takes URLs apart and keeps the last one: a module sends to the same service over and over.
class Targets {
public:
    static Targets& instance() {
        static auto* const targets = new Targets;  // requests may still run at the process's end
        return *targets;
    }
    HOSTPORT of(const std::string& url) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!url.empty() && url == m_url) {
                return m_target;
            }
        }
        HOSTPORT target = Tools::getHOSTPORT(url);
        if (!target.host.empty()) {  // what is no URL is told each time
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_url = url;
            m_target = target;
        }
        return target;
    }

private:
    std::mutex m_mutex;
    std::string m_url;
    HOSTPORT m_target;
};

}  // namespace

PinnedHost pinnedHostOf(const std::string& url) {
    HOSTPORT target = Targets::instance().of(url);
    if (platform::isInetAddress(target.host)) {
        return {};
    }
    std::string address = DNSCache::getInstance()->getIpByDomain(target.host);
    if (address.empty()) {
        VLOX_LOG(2, "ip get from DNSCache is empty");
        return {};
    }
    VLOX_LOG(2, "ip get from DNSCache is %s", address.c_str());
    return {std::move(target.host), std::to_string(target.port), std::move(address)};
}

void reportFailure(const PinnedHost& pinned, int curlCode) {
    if (!pinned.address.empty() && NetworkMonitor::getNetworkType() != NETWORK_TYPE_NONE) {
        DNSCache::getInstance()->notifyFailureIpByDomain(pinned.host, pinned.address, curlCode);
    }
}

}  // namespace vloxlib
