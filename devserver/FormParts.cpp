#include "FormParts.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "WireError.h"

namespace devserver {
namespace {

constexpr std::size_t kPiece = 65536;

}  // namespace

FormParts::FormParts(std::istream& body, const std::string& boundary)
    : m_body(body), m_delimiter("\r\n--" + boundary) {}

bool FormParts::next(Poco::Net::MessageHeader& header) {
    std::vector<char> rest(kPiece);
    while (read(rest.data(), rest.size()) > 0) {
    }
    m_ahead.erase(0, m_delimiter.size());
    while (m_ahead.size() < 2) {
        fill();
    }
    if (m_ahead.compare(0, 2, "--") == 0) {
        return false;
    }
    const std::size_t end = find("\r\n\r\n");
    std::istringstream lines(m_ahead.substr(2, end + 2));
    header.clear();
    header.read(lines);
    m_ahead.erase(0, end + 4);
    return true;
}

std::size_t FormParts::read(char* buffer, std::size_t room) {
    while (true) {
        const std::size_t end = m_ahead.find(m_delimiter);
        // What may be the beginning of a delimiter waits until more is known.
        const std::size_t sure = end != std::string::npos ? end
                                 : m_ahead.size() >= m_delimiter.size()
                                     ? m_ahead.size() - m_delimiter.size() + 1
                                     : 0;
        if (sure > 0 || end == 0) {
            const std::size_t got = std::min(sure, room);
            std::copy_n(m_ahead.data(), got, buffer);
            m_ahead.erase(0, got);
            return got;
        }
        fill();
    }
}

void FormParts::fill() {
    const std::size_t before = m_ahead.size();
    m_ahead.resize(before + kPiece);
    m_body.read(&m_ahead[before], kPiece);
    m_ahead.resize(before + static_cast<std::size_t>(m_body.gcount()));
    if (m_ahead.size() == before) {
        throw WireError(kWireBadRequest, "the form ends in the middle");
    }
}

std::size_t FormParts::find(const std::string& text) {
    std::size_t found = m_ahead.find(text);
    while (found == std::string::npos) {
        if (m_ahead.size() > kPiece) {
            throw WireError(kWireBadRequest, "a part's header is too long");
        }
        fill();
        found = m_ahead.find(text);
    }
    return found;
}

}  // namespace devserver
