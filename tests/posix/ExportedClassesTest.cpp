// The C++ names that modules are built against. Which symbols a class has is the compiler's business, also on
// Windows.
#include <cxxabi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "support/ExportedNames.h"

namespace {

// "vloxlib::FileUtil" of an operation of it, "vloxlib::toStr" of the function; empty for what isn't ours.
std::string classOrFunction(const std::string& symbol) {
    int failed = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &failed), &std::free);
    const std::string name = failed == 0 ? text.get() : "";
    const std::string ours = "vloxlib::";
    const std::size_t end = std::min(name.find_first_of(":([<*& ", ours.size()), name.size());
    const bool isType = end < name.size() && std::string("*& ").find(name[end]) != std::string::npos;
    return name.find(ours) == 0 && !isType ? name.substr(0, end) : "";  // the type that a template gives
}

}  // namespace

TEST(Interface, HasExactlyTheClassesOfTheList) {
    std::set<std::string> exported;
    for (const std::string& symbol : vlox_test::exportedNames(LIBRARY_FILE)) {
        exported.insert(classOrFunction(symbol));
    }
    exported.erase("");
    vlox_test::compareWithList(vlox_test::namesOfList(CLASS_LIST), exported, CLASS_LIST);
}
