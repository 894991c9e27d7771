#include "Journal.h"

#include <common/Json.h>

#include <stdexcept>

namespace app {

Journal::Journal(const std::string& path) : m_path(std::filesystem::u8path(path)) {
    read();
    m_file.open(m_path, std::ios::binary | std::ios::app);
    if (!m_file) {
        throw std::runtime_error("can't write " + path);
    }
}

Journal::Outcome Journal::take(const std::string& id, const std::string& json) {
    if (m_results.count(id) != 0) {
        return TWICE;
    }
    m_file << json << std::endl;
    if (!m_file) {
        m_file.clear();
        return FAILED;
    }
    m_results[id] = json;
    return TAKEN;
}

// The end of a line that the process didn't live to finish is cut off: its result comes again.
void Journal::read() {
    std::ifstream file(m_path, std::ios::binary);
    std::uintmax_t whole = 0;
    for (std::string line; std::getline(file, line) && !file.eof();) {
        whole += line.size() + 1;
        m_results[common::textOf(common::parseJson(line), "id")] = line;
    }
    if (std::filesystem::exists(m_path)) {
        std::filesystem::resize_file(m_path, whole);
    }
}

}  // namespace app
