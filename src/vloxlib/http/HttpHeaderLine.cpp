#include "vloxlib/http/HttpHeaderLine.h"

#include <charconv>

namespace vloxlib {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBlanksAndLineEnds = " \t\r\n";
constexpr std::string_view kLineEnds = "\r\n";

std::string_view withoutLeading(std::string_view text, std::string_view dropped) {
    const std::size_t start = text.find_first_not_of(dropped);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

std::string_view withoutTrailing(std::string_view text, std::string_view dropped) {
    return text.substr(0, text.find_last_not_of(dropped) + 1);
}

}  // namespace

void insertHeaderLine(std::string_view line, std::map<std::string, std::string>& headers) {
    if (line.size() <= kLineEnds.size()) {
        return;
    }
    line = withoutLeading(line, kBlanksAndLineEnds);
    line = line.substr(0, line.find_first_of(kLineEnds));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return;
    }
    const std::string_view name = withoutTrailing(line.substr(0, colon), kBlanks);
    const std::string_view value = withoutLeading(line.substr(colon + 1), kBlanks);
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
