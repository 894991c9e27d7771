#ifndef TESTS_SUPPORT_EXPORTEDNAMES_H
#define TESTS_SUPPORT_EXPORTEDNAMES_H

#include <set>
#include <string>

namespace vlox_test {

/// All names that a shared library gives to who opens it, decorated as the compiler does.
std::set<std::string> exportedNames(const std::string& library);

}  // namespace vlox_test

#endif
