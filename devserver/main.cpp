#include <Poco/Exception.h>
#include <Poco/Process.h>

#include <atomic>
#include <csignal>
#include <exception>
#include <iostream>
#include <thread>

#include "HttpServer.h"
#include "Json.h"
#include "Options.h"
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
    rapidjson::Document line(rapidjson::kObjectType);
    devserver::addNumber(line, "port", port);
    devserver::addNumber(line, "pid", static_cast<long long>(Poco::Process::id()));
    devserver::addText(line, "host", options.host);
    devserver::addText(line, "url", "http://" + options.host + ":" + std::to_string(port));
    devserver::addText(line, "sm2PublicKey", keys.sm2PublicKey());
    devserver::addText(line, "sm9Identity", keys.sm9Identity());
    devserver::addText(line, "sm9Parameters", keys.sm9Parameters());
    devserver::addText(line, "sm9ParameterFile", keys.sm9ParameterFile());
    std::cout << devserver::toText(line) << std::endl;
}

int serve(const devserver::Options& options) {
    std::signal(SIGTERM, askToStop);
    // A shell that starts a job in the background has Ctrl-C ignored there, and means it.
    if (std::signal(SIGINT, askToStop) == SIG_IGN) {
        std::signal(SIGINT, SIG_IGN);
    }
    const devserver::ServerKeys keys(options.keys, options.identity);
    devserver::Platform platform(keys, options.envelope, options.misbehaviour, options.every);
    const devserver::HttpServer server(platform, options.host, options.port, options.threads);
    if (options.stopOnEof) {
        stopWhenInputEnds();
    }
    tellWhereToConnect(options, server.port(), keys);
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
