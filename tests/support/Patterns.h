#ifndef TESTS_SUPPORT_PATTERNS_H
#define TESTS_SUPPORT_PATTERNS_H

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace vlox_test {

// GoogleTest's own patterns know no brackets and no repetitions on some systems.

/// Matches a text that as a whole is of the pattern, as ECMAScript writes patterns.
MATCHER_P(IsOfPattern, pattern, "") { return std::regex_match(std::string(arg), std::regex(pattern)); }

/// Matches a text with a part of the pattern.
MATCHER_P(HasPattern, pattern, "") { return std::regex_search(std::string(arg), std::regex(pattern)); }

}  // namespace vlox_test

#endif
