// vlox-inspect: prints what stands in the files that the library leaves on a machine.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "QuietFile.h"
#include "Report.h"

namespace {

constexpr char kUsage[] =
    "usage: vlox-inspect [--json] store <file>   tasks, results and sequence numbers of a client's store\n"
    "       vlox-inspect [--json] dns <file>     names and addresses of the resolver's cache, vloxDomain.db\n"
    "No file is changed. Exit codes: 0, 1 for a file that can't be read, 2 for wrong arguments.\n";

int refuse(const std::string& why) {
    std::cerr << "vlox-inspect: " << why << " (see --help)\n";
    return 2;
}

int print(const std::string& kind, const std::string& path, bool asJson) {
    try {
        const inspect::QuietFile file(path);
        const inspect::Report report =
            kind == "store" ? inspect::reportOnStore(file) : inspect::reportOnDns(file);
        (asJson ? inspect::printJson : inspect::printColumns)(report, std::cout);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "vlox-inspect: " << error.what() << '\n';
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv) {
    bool asJson = false;
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--help") {
            std::cout << kUsage;
            return 0;
        }
        if (word == "--json") {
            asJson = true;
        } else if (word.rfind("--", 0) == 0) {
            return refuse("unknown option " + word);
        } else {
            words.push_back(word);
        }
    }
    if (words.size() != 2 || (words[0] != "store" && words[0] != "dns")) {
        return refuse("it takes 'store' or 'dns', and a file");
    }
    return print(words[0], words[1], asJson);
}
