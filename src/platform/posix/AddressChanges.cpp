#include "platform/AddressChanges.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace vloxlib::platform {

namespace {

using AddressTable = std::set<std::string>;

std::string addressText(const sockaddr& address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address.sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr, text, sizeof text);
    } else if (address.sa_family == AF_INET6) {
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text, sizeof text);
    }
    return text;
}

// Nothing when the system doesn't tell.
std::optional<AddressTable> readAddressTable() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, freeifaddrs);
    AddressTable table;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        const std::string text = entry->ifa_addr == nullptr ? "" : addressText(*entry->ifa_addr);
        if (!text.empty()) {
            table.insert(std::string(entry->ifa_name) + ' ' + text);
        }
    }
    return table;
}

int openRouteSocket() {
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (descriptor < 0) {
        return -1;
    }
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&groups), sizeof groups) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

}  // namespace

struct AddressChanges::Native {
    int descriptor = openRouteSocket();
    std::optional<AddressTable> table = readAddressTable();

    ~Native() { end(); }
    void end() {
        if (descriptor >= 0) {
            close(std::exchange(descriptor, -1));
        }
    }

    // What the message says doesn't matter, nor that some were lost: the table is read again in any case.
    bool receive(int flags) const {
        char message[8192];
        return recv(descriptor, message, sizeof message, flags) >= 0 || errno == EINTR || errno == ENOBUFS;
    }

    // The kernel also speaks up when only an address's lifetime or state is renewed.
    bool tableChanged() {
        std::optional<AddressTable> now = readAddressTable();
        const bool changed = !now || now != table;
        table = std::move(now);
        return changed;
    }
};

AddressChanges::AddressChanges() : m_native(std::make_unique<Native>()) {}

AddressChanges::~AddressChanges() = default;

bool AddressChanges::wait() {
    if (m_native->descriptor < 0) {
        m_native->descriptor = openRouteSocket();
        if (m_native->descriptor < 0 || m_native->tableChanged()) {
            return m_native->descriptor >= 0;
        }
    }
    do {
        if (!m_native->receive(0)) {
            m_native->end();
            return false;
        }
        while (m_native->receive(MSG_DONTWAIT)) {
        }
    } while (!m_native->tableChanged());
    return true;
}

}  // namespace vloxlib::platform
