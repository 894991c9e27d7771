#include <Poco/Exception.h>
#include <Poco/Process.h>

#include <atomic>
#include <csignal>
#include <exception>
#include <iostream>
#include <list>
#include <optional>
#include <thread>

#include "HttpServer.h"
#include "Json.h"
#include "Options.h"
#include "OtherZone.h"
#include "Platform.h"
#include "ServerKeys.h"

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

void tellWhereToConnect(const devserver::Options& options, unsigned short port,
                        const devserver::ServerKeys& keys) {
    const std::string& answers =
        options.primary == devserver::Primary::Answers ? options.host : options.alsoHost;
    rapidjson::Document line(rapidjson::kObjectType);
    devserver::addNumber(line, "port", port);
    devserver::addNumber(line, "pid", static_cast<long long>(Poco::Process::id()));
    devserver::addText(line, "host", options.host);
    if (!options.alsoHost.empty()) {
        devserver::addText(line, "alsoHost", options.alsoHost);
    }
    devserver::addText(line, "url", "http://" + answers + ":" + std::to_string(port));
    devserver::addText(line, "sm2PublicKey", keys.sm2PublicKey());
    devserver::addText(line, "sm9Identity", keys.sm9Identity());
    devserver::addText(line, "sm9Parameters", keys.sm9Parameters());
    devserver::addText(line, "sm9ParameterFile", keys.sm9ParameterFile());
    std::cout << devserver::toText(line) << std::endl;
}

// One server for each address that answers. The first address keeps its socket also where nobody answers, so
// that no other process gets its port.
class Servers {
public:
    Servers(devserver::Platform& platform, const devserver::Options& options)
        : m_primary(devserver::boundSocket(options.host, options.port)) {
        if (options.primary != devserver::Primary::Refuses) {
            devserver::listenOn(m_primary);
        }
        if (options.primary == devserver::Primary::Answers) {
            m_servers.emplace_back(platform, m_primary, options.threads);
        }
        if (!options.alsoHost.empty()) {
            Poco::Net::ServerSocket second = devserver::boundSocket(options.alsoHost, port());
            devserver::listenOn(second);
            m_servers.emplace_back(platform, second, options.threads);
        }
    }

    unsigned short port() const { return m_primary.address().port(); }

private:
    Poco::Net::ServerSocket m_primary;
    std::list<devserver::HttpServer> m_servers;
};

std::optional<devserver::OtherZone> otherZone(const devserver::Options& options) {
    return options.otherZone.empty() ? std::nullopt
                                     : std::make_optional<devserver::OtherZone>(options.otherZone);
}

int serve(const devserver::Options& options) {
    std::signal(SIGTERM, askToStop);
    // A shell that starts a job in the background has Ctrl-C ignored there, and means it.
    if (std::signal(SIGINT, askToStop) == SIG_IGN) {
        std::signal(SIGINT, SIG_IGN);
    }
    const devserver::ServerKeys keys(options.keys, options.identity);
    devserver::Platform platform(keys, options.envelope, options.misbehaviour, options.every,
                                 otherZone(options), options.files);
    const Servers servers(platform, options);
    if (options.stopOnEof) {
        stopWhenInputEnds();
    }
    tellWhereToConnect(options, servers.port(), keys);
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
