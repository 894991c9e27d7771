#include <atomic>
#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <thread>

#include "Courier.h"
#include "Journal.h"
#include "Messenger.h"
#include "Options.h"
#include "Table.h"

namespace {

constexpr int kStoppedEarly = 3;

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

// The second time the process ends at once: what is stored stays stored.
void interrupt(int signal) {
    interrupted = true;
    std::signal(signal, SIG_DFL);
}

// The thread stays behind in its read when something else ends the process.
void interruptWhenInputEnds() {
    std::thread([] {
        while (std::cin.get() != std::istream::traits_type::eof()) {
        }
        interrupted = true;
    }).detach();
}

int runMessages(const app::Options& options) {
    app::Journal journal(options.directory + "/results.jsonl");
    app::Messenger messenger(options, journal);
    const bool done = messenger.run(interrupted);
    app::printTable(std::cout, messenger.figures(), journal, options);
    if (!options.summary.empty()) {
        app::writeSummary(messenger.figures(), journal, options);
    }
    return done ? 0 : kStoppedEarly;
}

int runFile(const app::Options& options) {
    app::Journal journal(options.directory + "/transfers.jsonl");
    app::Courier courier(options, journal);
    const bool done = courier.run(interrupted);
    courier.printTable(std::cout);
    if (!options.summary.empty()) {
        courier.writeSummary();
    }
    return done ? 0 : kStoppedEarly;
}

int run(const app::Options& options) {
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    if (options.stopOnEof) {
        interruptWhenInputEnds();
    }
    std::filesystem::create_directories(std::filesystem::u8path(options.directory));
    const int code = options.file.empty() ? runMessages(options) : runFile(options);
    if (code == kStoppedEarly) {
        std::cout << "\nstopped early; the next run on the same directory finishes the rest" << std::endl;
    }
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(app::parseOptions(argc, argv));
    } catch (const app::OptionError& error) {
        std::cerr << "vlox-messenger: " << error.what() << std::endl;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "vlox-messenger: " << error.what() << std::endl;
        return 1;
    }
}
