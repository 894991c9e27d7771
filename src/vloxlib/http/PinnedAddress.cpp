#include "vloxlib/http/PinnedAddress.h"

#include <Poco/String.h>
#include <curl/curl.h>

#include <algorithm>

#include "platform/InetAddress.h"
#include "vloxlib/dnscache/Tools.h"
#include "vloxlib/http/ProxyRules.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"

namespace vloxlib {

namespace {

std::string schemeOf(const std::string& url) { return url.substr(0, url.find("://")); }

constexpr long kFirstServerError = 500;

// Others are the caller's doing, or this machine's, or a reply that another machine of the service gives as
// well.
bool isMachinesFailure(const ExchangeOutcome& outcome) {
    switch (outcome.curlCode) {
        case CURLE_OK:
            return outcome.status >= kFirstServerError;
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return true;
        default:
            return false;
    }
}

// Of several addresses libcurl tries one after the other, until one answers.
std::vector<std::string> failedOnes(const std::vector<std::string>& tried, const ExchangeOutcome& outcome) {
    if (outcome.address.empty()) {
        switch (outcome.curlCode) {
            case CURLE_COULDNT_CONNECT:
                return tried;
            case CURLE_OPERATION_TIMEDOUT:
                return {tried.front()};
            default:
                return {};
        }
    }
    const auto reached = std::find(tried.begin(), tried.end(), outcome.address);
    if (reached == tried.end()) {
        return {};  // a redirect has led elsewhere
    }
    return {outcome.isNewConnection ? tried.begin() : reached,
            isMachinesFailure(outcome) ? reached + 1 : reached};
}

}  // namespace

PinnedHost pinnedHostOf(const std::string& url, const ResolvePatience& patience) {
    HOSTPORT target = Tools::getHOSTPORT(url);
    if (platform::isInetAddress(target.host) || !proxyFor(schemeOf(url), target.host).empty()) {
        return {};
    }
    std::vector<std::string> addresses = DNSCache::getInstance()->getIpsByDomain(target.host, patience);
    if (addresses.empty() || addresses.front().empty()) {
        VLOX_LOG(2, "ip get from DNSCache is empty");
        PinnedHost unknown;
        unknown.curlCode = !patience.isOver()                       ? CURLE_OK
                           : patience.givenUp && patience.givenUp() ? CURLE_ABORTED_BY_CALLBACK
                                                                    : CURLE_OPERATION_TIMEDOUT;
        return unknown;
    }
    VLOX_LOG(2, "ip get from DNSCache is %s",
             Poco::cat(std::string(","), addresses.begin(), addresses.end()).c_str());
    return {std::move(target.host), std::to_string(target.port), std::move(addresses)};
}

void reportOutcome(const PinnedHost& pinned, const ExchangeOutcome& outcome, bool failed) {
    if (pinned.addresses.empty() || NetworkMonitor::getNetworkType() == NETWORK_TYPE_NONE) {
        return;
    }
    const auto resolver = DNSCache::getInstance();
    if (resolver->usesAllAddresses()) {
        for (const std::string& address : failedOnes(pinned.addresses, outcome)) {
            resolver->notifyFailureOfAddress(pinned.host, address, outcome.curlCode);
        }
    } else if (failed) {
        resolver->notifyFailureIpByDomain(pinned.host, pinned.addresses.front(), outcome.curlCode);
    }
}

}  // namespace vloxlib
