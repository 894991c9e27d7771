#include <Poco/Exception.h>
#include <Poco/Process.h>

#include <atomic>
#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <thread>

#include "Json.h"
#include "Options.h"
#include "OtherZone.h"
#include "Platform.h"
#include "ServerKeys.h"
#include "Servers.h"
#include "TestAuthority.h"

namespace {

std::atomic<bool> stopAsked{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void askToStop(int) { stopAsked = true; }

void waitUntilAskedToStop() {
    while (!stopAsked) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// The thread stays behind in its read when something else ends the process.
void stopWhenInputEnds() {
    std::thread([] {
        while (std::cin.get() != std::istream::traits_type::eof()) {
        }
        stopAsked = true;
    }).detach();
}

// What a client over TLS needs: the ports by what it meets there, whom to trust, and a certificate of its
// own.
rapidjson::Document describeTls(const devserver::Servers& servers, const devserver::TestAuthority& authority,
                                rapidjson::Document::AllocatorType& allocator) {
    rapidjson::Document tls(rapidjson::kObjectType, &allocator);
    devserver::addText(tls, "directory", authority.directory());
    devserver::addText(tls, "authorityFile", authority.authorityFile());
    devserver::addText(tls, "clientFile", authority.clientFile());
    devserver::addText(tls, "clientKeyPassword", devserver::TestAuthority::kClientKeyPassword);
    rapidjson::Document ports(rapidjson::kObjectType, &allocator);
    for (const auto& [name, port] : servers.tlsPorts()) {
        devserver::addNumber(ports, name.c_str(), port);
    }
    devserver::addObject(tls, "ports", ports);
    return tls;
}

void tellWhereToConnect(const devserver::Options& options, const devserver::Servers& servers,
                        const devserver::ServerKeys& keys,
                        const std::optional<devserver::TestAuthority>& authority) {
    const std::string& answers =
        options.primary == devserver::Primary::Answers ? options.host : options.alsoHost;
    rapidjson::Document line(rapidjson::kObjectType);
    devserver::addNumber(line, "port", servers.port());
    devserver::addNumber(line, "pid", static_cast<long long>(Poco::Process::id()));
    devserver::addText(line, "host", options.host);
    if (!options.alsoHost.empty()) {
        devserver::addText(line, "alsoHost", options.alsoHost);
    }
    devserver::addText(line, "url", "http://" + answers + ":" + std::to_string(servers.port()));
    devserver::addText(line, "sm2PublicKey", keys.sm2PublicKey());
    devserver::addText(line, "sm9Identity", keys.sm9Identity());
    devserver::addText(line, "sm9Parameters", keys.sm9Parameters());
    devserver::addText(line, "sm9ParameterFile", keys.sm9ParameterFile());
    if (authority) {
        const std::string port = std::to_string(servers.tlsPorts().front().port);
        devserver::addText(line, "httpsUrl", "https://" + options.host + ":" + port);
        devserver::addObject(line, "tls", describeTls(servers, *authority, line.GetAllocator()));
    }
    std::cout << devserver::toText(line) << std::endl;
}

std::optional<devserver::OtherZone> otherZone(const devserver::Options& options) {
    return options.otherZone.empty() ? std::nullopt
                                     : std::make_optional<devserver::OtherZone>(options.otherZone);
}

std::optional<devserver::TestAuthority> testAuthority(const devserver::Options& options) {
    return options.tls ? std::make_optional<devserver::TestAuthority>(options.keys + "/tls") : std::nullopt;
}

int serve(const devserver::Options& options) {
    std::signal(SIGTERM, askToStop);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);  // a client that has gone; TLS writes to it like to a file
#endif
    // A shell that starts a job in the background has Ctrl-C ignored there, and means it.
    if (std::signal(SIGINT, askToStop) == SIG_IGN) {
        std::signal(SIGINT, SIG_IGN);
    }
    const devserver::ServerKeys keys(options.keys, options.identity);
    devserver::Platform platform(keys, options.envelope, options.misbehaviour, options.every,
                                 otherZone(options), options.files);
    const std::optional<devserver::TestAuthority> authority = testAuthority(options);
    const devserver::Servers servers(platform, options, authority);
    if (options.stopOnEof) {
        stopWhenInputEnds();
    }
    tellWhereToConnect(options, servers, keys, authority);
    waitUntilAskedToStop();
    platform.stop();
    if (options.finalStats) {
        std::cout << platform.statistics() << std::endl;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const devserver::Options options = devserver::parseOptions(argc, argv);
        if (options.help) {
            std::cout << devserver::helpText();
            return 0;
        }
        return serve(options);
    } catch (const devserver::OptionError& error) {
        std::cerr << "vlox-devserver: " << error.what() << " (--help shows all options)" << std::endl;
        return 2;
    } catch (const Poco::Exception& error) {
        std::cerr << "vlox-devserver: " << error.displayText() << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "vlox-devserver: " << error.what() << std::endl;
    }
    return 1;
}
