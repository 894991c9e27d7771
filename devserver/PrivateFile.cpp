#include "PrivateFile.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace devserver {

namespace fs = std::filesystem;

// Empty before anything is in it, so that at no time others can read what it holds.
void writePrivateFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream sink(file, std::ios::binary);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    sink << content << std::flush;
    if (!sink) {
        throw std::runtime_error("can't write " + file.string());
    }
}

std::string readFile(const fs::path& file) {
    std::ifstream source(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>()};
}

}  // namespace devserver
