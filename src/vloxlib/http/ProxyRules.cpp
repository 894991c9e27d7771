#include "vloxlib/http/ProxyRules.h"

#include <Poco/Environment.h>
#include <Poco/String.h>

#include <initializer_list>
#include <string_view>

namespace vloxlib {

namespace {

// The first that is set to something.
std::string firstOf(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (std::string value = Poco::Environment::get(name, ""); !value.empty()) {
            return value;
        }
    }
    return "";
}

std::string_view withoutLastDot(std::string_view name) {
    return !name.empty() && name.back() == '.' ? name.substr(0, name.size() - 1) : name;
}

// "example.org" stands for itself and for all names below it.
bool covers(std::string_view pattern, std::string_view host) {
    if (!pattern.empty() && pattern.front() == '.') {
        pattern.remove_prefix(1);
    }
    if (pattern.empty() || pattern.size() > host.size()) {
        return false;
    }
    const std::size_t ahead = host.size() - pattern.size();
    return (ahead == 0 || host[ahead - 1] == '.') &&
           Poco::icompare(std::string(host.substr(ahead)), std::string(pattern)) == 0;
}

bool isExempt(std::string_view host) {
    const std::string list = firstOf({"no_proxy", "NO_PROXY"});
    if (list == "*") {
        return true;
    }
    constexpr const char* kSeparators = ", \t";
    for (std::size_t at = list.find_first_not_of(kSeparators); at != std::string::npos;) {
        const std::size_t end = list.find_first_of(kSeparators, at);
        const std::string_view pattern(list.data() + at, (end == std::string::npos ? list.size() : end) - at);
        if (covers(withoutLastDot(pattern), withoutLastDot(host))) {
            return true;
        }
        at = list.find_first_not_of(kSeparators, end);
    }
    return false;
}

}  // namespace

std::string proxyFor(const std::string& scheme, const std::string& host) {
    const std::string proxy = Poco::icompare(scheme, std::string("https")) == 0
                                  ? firstOf({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
                                  : firstOf({"http_proxy", "all_proxy", "ALL_PROXY"});
    return proxy.empty() || isExempt(host) ? "" : proxy;
}

}  // namespace vloxlib
