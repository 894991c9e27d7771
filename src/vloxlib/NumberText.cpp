#include "vloxlib/NumberText.h"

#include <charconv>
#include <limits>
#include <type_traits>

namespace vloxlib {

namespace {

template <typename Number>
void writeDecimal(Number value, char* buffer) {
    constexpr int longestText = std::numeric_limits<Number>::digits10 + 2;  // one digit more, and the sign
    *std::to_chars(buffer, buffer + longestText, value).ptr = '\0';
}

// Counted without a sign, so that too large a number wraps instead of overflowing.
template <typename Number>
Number readDecimal(const std::string& text) {
    using Magnitude = std::make_unsigned_t<Number>;
    const bool negative = std::is_signed_v<Number> && !text.empty() && text.front() == '-';
    Magnitude magnitude = 0;
    for (std::size_t place = negative ? 1 : 0; place < text.size(); ++place) {
        const char digit = text[place];
        if (digit < '0' || digit > '9') {
            break;
        }
        magnitude = magnitude * 10U + static_cast<Magnitude>(digit - '0');
    }
    return static_cast<Number>(negative ? Magnitude{0} - magnitude : magnitude);
}

}  // namespace

void toStr(int value, char* buffer) { writeDecimal(value, buffer); }

void toStr(unsigned int value, char* buffer) { writeDecimal(value, buffer); }

void toStr(long value, char* buffer) { writeDecimal(value, buffer); }

void toStr(unsigned long value, char* buffer) { writeDecimal(value, buffer); }

void toStr(int64 value, char* buffer) { writeDecimal(value, buffer); }

void toStr(unsigned long long value, char* buffer) { writeDecimal(value, buffer); }

void strToX(const std::string& text, int& value) { value = readDecimal<int>(text); }

void strToX(const std::string& text, unsigned int& value) { value = readDecimal<unsigned int>(text); }

void strToX(const std::string& text, std::string& value) { value = text; }

void strToX(const std::string& text, long& value) { value = readDecimal<long>(text); }

void strToX(const std::string& text, unsigned long& value) { value = readDecimal<unsigned long>(text); }

void strToX(const std::string& text, int64& value) { value = readDecimal<int64>(text); }

void strToX(const std::string& text, unsigned long long& value) {
    value = readDecimal<unsigned long long>(text);
}

}  // namespace vloxlib
