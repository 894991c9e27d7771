#include "Options.h"

#include <filesystem>

namespace app {
namespace {

int senderCount(const std::string& text) {
    const bool digits =
        !text.empty() && text.size() <= 3 && text.find_first_not_of("0123456789") == std::string::npos;
    const int count = digits ? std::stoi(text) : 0;
    if (count < 1 || count > 100) {
        throw OptionError("--senders needs a number from 1 to 100");
    }
    return count;
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
        } else if (argument == "--senders") {
            options.senders = senderCount(value());
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
    if (options.messages.empty() || options.platform.empty()) {
        throw OptionError(
            "usage: vlox-messenger --platform <file> [--dir <directory>] [--crypto <name>] [--senders <n>] "
            "[--summary <file>] [--progress-line] [--stop-on-eof] <messages.jsonl>");
    }
    if (!std::filesystem::is_regular_file(options.messages)) {
        throw OptionError("no such file: " + options.messages);
    }
    return options;
}

}  // namespace app
