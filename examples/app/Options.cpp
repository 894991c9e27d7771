#include "Options.h"

#include <filesystem>

namespace app {
namespace {

int number(const std::string& option, const std::string& text, int least, int most) {
    const bool digits =
        !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
    const int value = digits ? std::stoi(text) : -1;
    if (value < least || value > most) {
        throw OptionError(option + " needs a number from " + std::to_string(least) + " to " +
                          std::to_string(most));
    }
    return value;
}

Crypto cryptoOf(const std::string& name) {
    const Crypto known[] = {
        {"none", 0, 0}, {"sm2-aes", 2, 1}, {"sm2-sm4", 2, 2}, {"sm9-aes", 4, 1}, {"sm9-sm4", 4, 2},
    };
    for (const Crypto& crypto : known) {
        if (crypto.name == name) {
            return crypto;
        }
    }
    throw OptionError("--crypto is one of none, sm2-aes, sm2-sm4, sm9-aes, sm9-sm4");
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto value = [&]() -> std::string {
            if (i + 1 >= argc) {
                throw OptionError(argument + " needs a value");
            }
            return argv[++i];
        };
        if (argument == "--platform") {
            options.platform = value();
        } else if (argument == "--dir") {
            options.directory = value();
        } else if (argument == "--summary") {
            options.summary = value();
        } else if (argument == "--crypto") {
            options.crypto = cryptoOf(value());
        } else if (argument == "--https") {
            options.transport = Transport::HTTPS;
        } else if (argument == "--https-mutual") {
            options.transport = Transport::HTTPS_MUTUAL;
        } else if (argument == "--senders") {
            options.senders = number(argument, value(), 1, 100);
        } else if (argument == "--file") {
            options.file = value();
        } else if (argument == "--chunk") {
            options.chunkSize = number(argument, value(), 1024, 500'000'000);
        } else if (argument == "--progress-line") {
            options.progressLine = true;
        } else if (argument == "--stop-on-eof") {
            options.stopOnEof = true;
        } else if (argument.rfind('-', 0) == 0 || !options.messages.empty()) {
            throw OptionError("unknown option '" + argument + "'");
        } else {
            options.messages = argument;
        }
    }
    if (options.messages.empty() == options.file.empty() || options.platform.empty()) {
        throw OptionError(
            "usage: vlox-messenger --platform <file> [--dir <directory>] [--crypto <name>] "
            "[--https | --https-mutual] [--senders <n>] [--summary <file>] [--progress-line] [--stop-on-eof] "
            "<messages.jsonl> | --file <path> [--chunk "
            "<bytes>]");
    }
    if (options.file.empty() &&
        !std::filesystem::is_regular_file(std::filesystem::u8path(options.messages))) {
        throw OptionError("no such file: " + options.messages);
    }
    return options;
}

}  // namespace app
