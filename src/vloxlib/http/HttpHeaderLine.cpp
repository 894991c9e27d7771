#include "vloxlib/http/HttpHeaderLine.h"

#include <algorithm>
#include <charconv>

namespace vloxlib {

namespace {

constexpr std::size_t kLineEnd = 2;  // bytes

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool endsLine(char c) { return c == '\r' || c == '\n'; }
bool isBlankOrEnd(char c) { return isBlank(c) || endsLine(c); }

template <typename Test>
std::string_view withoutLeading(std::string_view text, Test dropped) {
    const auto start = std::find_if_not(text.begin(), text.end(), dropped);
    return text.substr(static_cast<std::size_t>(start - text.begin()));
}

std::string_view withoutTrailingBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view upToLineEnd(std::string_view text) {
    const auto end = std::find_if(text.begin(), text.end(), endsLine);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

}  // namespace

void insertHeaderLine(std::string_view line, std::map<std::string, std::string>& headers) {
    if (line.size() <= kLineEnd) {
        return;
    }
    line = upToLineEnd(withoutLeading(line, isBlankOrEnd));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return;
    }
    const std::string_view name = withoutTrailingBlanks(line.substr(0, colon));
    const std::string_view value = withoutLeading(line.substr(colon + 1), isBlank);
    headers.emplace(name, value.empty() ? " " : value);
}

long long startOfContentRange(std::string_view value) {
    constexpr std::string_view unit = "bytes ";
    if (value.size() <= unit.size()) {
        return 0;
    }
    value.remove_prefix(unit.size());
    value = value.substr(0, value.find('-'));
    long long start = 0;
    std::from_chars(value.data(), value.data() + value.size(), start);
    return start;
}

}  // namespace vloxlib
