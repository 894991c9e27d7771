#include "vloxlib/http/HttpHeaderLine.h"

#include <algorithm>
#include <charconv>

namespace vloxlib {

namespace {

constexpr std::size_t kLineEnd = 2;  // bytes

// Names are ASCII, whatever the locale.
char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
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

HeaderLine readHeaderLine(std::string_view line) {
    line = upToLineEnd(withoutLeading(line, isBlankOrEnd));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return {};
    }
    const std::string_view value = withoutLeading(line.substr(colon + 1), isBlank);
    return {true, withoutTrailingBlanks(line.substr(0, colon)), value.empty() ? " " : value};
}

std::string* insertHeaderLine(std::string_view line, std::map<std::string, std::string>& headers) {
    const HeaderLine header = readHeaderLine(line);
    if (!header.valid || line.size() <= kLineEnd) {
        return nullptr;
    }
    const auto [place, inserted] = headers.emplace(header.name, header.value);
    return inserted ? &place->second : nullptr;
}

std::string_view continuationOf(std::string_view line) {
    const bool continues = !line.empty() && isBlank(line.front());
    return continues ? withoutTrailingBlanks(upToLineEnd(withoutLeading(line, isBlank))) : std::string_view();
}

bool isSameName(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return lowered(a) == lowered(b); });
}

std::string headerIn(const std::map<std::string, std::string>& headers, std::string_view name) {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [&](const auto& header) { return isSameName(header.first, name); });
    return found == headers.end() ? "" : found->second;
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
