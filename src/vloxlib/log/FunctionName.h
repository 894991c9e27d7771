/// @file
/// @brief The qualified name of the function around a log call, cut out by the compiler.
#ifndef VLOXLIB_LOG_FUNCTIONNAME_H
#define VLOXLIB_LOG_FUNCTIONNAME_H

#include <cstddef>
#include <string_view>

#if defined(__GNUC__)
#define VLOX_FUNCTION_NAME (::vloxlib::nameInSignature(__PRETTY_FUNCTION__))
#else
#define VLOX_FUNCTION_NAME (std::string_view(__FUNCTION__))
#endif

namespace vloxlib {

/// @brief "vloxlib::Timer::stop" out of "virtual void vloxlib::Timer::stop(int) const": what stands ahead of
/// the parameters, from the last blank on. A lambda bears the name of the function around it.
constexpr std::string_view nameInSignature(std::string_view signature) {
    constexpr std::string_view kUnnamed = "(anonymous namespace)";
    constexpr std::string_view kOperator = "operator";
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t angles = 0;
    for (; end < signature.size(); ++end) {
        const char c = signature[end];
        const bool isBreak = angles == 0 && (c == ' ' || c == '*' || c == '&' || c == ':');
        if (isBreak && c != ':') {
            begin = end + 1;
        }
        if (isBreak && signature.compare(end + 1, kOperator.size(), kOperator) == 0) {
            // Its signs aren't brackets, and a conversion's name holds blanks.
            end = signature.find('(', end + kOperator.size() + 2);
            break;
        }
        if (signature.compare(end, kUnnamed.size(), kUnnamed) == 0) {
            end += kUnnamed.size() - 1;
        } else if (angles == 0 && c == '(') {
            break;
        } else if (c == '<') {
            ++angles;
        } else if (c == '>') {
            --angles;
        }
    }
    return signature.substr(begin, end - begin);
}

/// @brief A name as a text with a terminator, made while compiling.
template <std::size_t Size>
struct FunctionName {
    char text[Size + 1] = {};

    constexpr explicit FunctionName(std::string_view name) {
        for (std::size_t at = 0; at < Size; ++at) {
            text[at] = name[at];
        }
    }
};

}  // namespace vloxlib

#endif
