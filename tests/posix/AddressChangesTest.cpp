#include "platform/AddressChanges.h"

#include <Poco/Environment.h>
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"
#include "support/TokenListener.h"
#include "vloxlib/Context.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "win32/vloxCommonlib.h"

using namespace vloxlib;
using vlox_test::TokenListener;

namespace {

// A network of the calling thread's own, with nothing in it but a loopback interface without addresses.
// Threads that it starts are in it too.
class OwnNetwork {
public:
    OwnNetwork() : m_own(unshare(CLONE_NEWNET) == 0), m_socket(socket(AF_INET, SOCK_DGRAM, 0)) {}
    ~OwnNetwork() { close(m_socket); }
    OwnNetwork(const OwnNetwork&) = delete;
    OwnNetwork& operator=(const OwnNetwork&) = delete;

    bool isOwn() const { return m_own; }
    // Each label holds one address.
    bool addAddress(const char* label, const char* address) const {
        ifreq request = requestFor(label);
        auto& wanted = reinterpret_cast<sockaddr_in&>(request.ifr_addr);
        wanted.sin_family = AF_INET;
        return inet_pton(AF_INET, address, &wanted.sin_addr) == 1 &&
               ioctl(m_socket, SIOCSIFADDR, &request) == 0;
    }
    // Gives an address of the loopback interface other lifetimes: announced, although no address comes or
    // goes.
    static bool renewAddress(const char* address) {
        struct {
            nlmsghdr header;
            ifaddrmsg message;
            rtattr addressHead;
            in_addr address;
            rtattr lifetimesHead;
            ifa_cacheinfo lifetimes;
        } request{};
        request.header.nlmsg_len = sizeof request;
        request.header.nlmsg_type = RTM_NEWADDR;
        request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_REPLACE | NLM_F_ACK;
        request.message.ifa_family = AF_INET;
        request.message.ifa_prefixlen = 8;
        request.message.ifa_index = if_nametoindex("lo");
        request.addressHead = {RTA_LENGTH(sizeof request.address), IFA_LOCAL};
        request.lifetimesHead = {RTA_LENGTH(sizeof request.lifetimes), IFA_CACHEINFO};
        request.lifetimes.ifa_valid = 1000;
        request.lifetimes.ifa_prefered = 500;
        inet_pton(AF_INET, address, &request.address);
        struct {
            nlmsghdr header;
            nlmsgerr error;
        } reply{};
        const int route = socket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
        const bool answered = send(route, &request, sizeof request, 0) == sizeof request &&
                              recv(route, &reply, sizeof reply, 0) >= static_cast<ssize_t>(sizeof reply);
        close(route);
        return answered && reply.header.nlmsg_type == NLMSG_ERROR && reply.error.error == 0;
    }

private:
    static ifreq requestFor(const char* label) {
        ifreq request{};
        std::strncpy(request.ifr_name, label, sizeof request.ifr_name - 1);
        return request;
    }

    const bool m_own;
    const int m_socket;
};

// Keeps the calling thread out of the rest of the process's tests; false without the right to a network of
// one's own.
template <typename Body>
bool runInOwnNetwork(Body body) {
    return std::async(std::launch::async,
                      [&] {
                          OwnNetwork network;
                          if (network.isOwn()) {
                              body(network);
                          }
                          return network.isOwn();
                      })
        .get();
}

}  // namespace

TEST(AddressChanges, AreSeenAndOtherAnnouncementsAreNot) {
    const bool ran = runInOwnNetwork([](const OwnNetwork& network) {
        struct Watch {
            platform::AddressChanges changes;
            std::promise<void> first;
            std::promise<void> second;
        };
        auto watch = std::make_shared<Watch>();
        auto firstSeen = watch->first.get_future();
        auto secondSeen = watch->second.get_future();
        // Left waiting for ever, should the test fail.
        std::thread([watch] {
            watch->changes.wait();
            watch->first.set_value();
            watch->changes.wait();
            watch->second.set_value();
        }).detach();
        EXPECT_EQ(std::future_status::timeout, firstSeen.wait_for(std::chrono::milliseconds(50)))
            << "none yet";
        ASSERT_TRUE(network.addAddress("lo", "10.1.0.1"));
        ASSERT_EQ(std::future_status::ready, firstSeen.wait_for(std::chrono::seconds(30)));
        ASSERT_TRUE(OwnNetwork::renewAddress("10.1.0.1"));
        EXPECT_EQ(std::future_status::timeout, secondSeen.wait_for(std::chrono::milliseconds(100)));
        ASSERT_TRUE(network.addAddress("lo:1", "10.1.0.2"));
        ASSERT_EQ(std::future_status::ready, secondSeen.wait_for(std::chrono::seconds(30)));
    });
    if (!ran) {
        GTEST_SKIP() << "no right to make a network of its own";
    }
}

TEST(AddressChanges, AreWatchedAgainAfterAnError) {
    const bool ran = runInOwnNetwork([](const OwnNetwork& network) {
        const int next = dup(STDIN_FILENO);
        close(next);
        platform::AddressChanges changes;  // its socket has the lowest free number
        const int nothing = open("/dev/null", O_RDONLY);
        ASSERT_EQ(next, dup2(nothing, next));
        EXPECT_FALSE(changes.wait());
        close(nothing);
        ASSERT_TRUE(network.addAddress("lo", "10.1.0.1"));
        EXPECT_TRUE(changes.wait()) << "what changed meanwhile";
        ASSERT_TRUE(network.addAddress("lo:1", "10.1.0.2"));
        EXPECT_TRUE(changes.wait());
    });
    if (!ran) {
        GTEST_SKIP() << "no right to make a network of its own";
    }
}

TEST(AddressChanges, ReachTheListenersWithTokensThatDifferByOne) {
    if (Context::getInstance()->getContext(CONTEXT_DATA_DIR, "absent") != "absent") {
        GTEST_SKIP() << "this process watches another network already";
    }
    vlox_test::TempDir home;
    Poco::Environment::set("XDG_CONFIG_HOME", home.path());
    TokenListener listener;
    NetworkMonitor::getInstance()->registerNetworkStatusChangedListener(&listener);
    bool watched = false;
    const bool ran = runInOwnNetwork([&](const OwnNetwork& network) {
        ASSERT_EQ(0, initialize({0, 0, nullptr}, home.path().c_str(), 0));
        EXPECT_FALSE(listener.awaitTokens(1, std::chrono::milliseconds(200)))
            << "nothing is told at the start";
        // What comes before the thread watches is not seen.
        int added = 0;
        const auto add = [&] {
            ++added;
            return network.addAddress(("lo:" + std::to_string(added)).c_str(),
                                      ("10.1.0." + std::to_string(added)).c_str());
        };
        while (!watched && added < 30) {
            ASSERT_TRUE(add());
            watched = listener.awaitTokens(1, std::chrono::seconds(1));
        }
        for (int more = 0; watched && more < 2; ++more) {
            const std::size_t before = listener.tokens().size();
            ASSERT_TRUE(add());
            ASSERT_TRUE(listener.awaitTokens(before + 1));
        }
    });
    NetworkMonitor::getInstance()->unregisterNetworkStatusChangedListener(&listener);
    if (!ran) {
        GTEST_SKIP() << "no right to make a network of its own";
    }
    ASSERT_TRUE(watched);
    const std::vector<long long> tokens = listener.tokens();
    ASSERT_LE(3U, tokens.size());
    for (std::size_t place = 1; place < tokens.size(); ++place) {
        EXPECT_EQ(tokens[0] + static_cast<long long>(place), tokens[place]);
    }
    EXPECT_GE(tokens[0], 0);
    EXPECT_LT(tokens[0], 10000);
}
