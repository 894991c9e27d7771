#ifndef TESTS_SUPPORT_EXPORTEDNAMES_H
#define TESTS_SUPPORT_EXPORTEDNAMES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>

namespace vlox_test {

/// All names that a shared library gives to who opens it, decorated as the compiler does.
std::set<std::string> exportedNames(const std::string& library);

/// A file of names, one a line, with what stands behind each; # begins a comment.
inline std::map<std::string, std::string> namesOfList(const std::string& path) {
    std::map<std::string, std::string> names;
    std::ifstream list(path);
    for (std::string line; std::getline(list, line);) {
        if (!line.empty() && line.front() != '#') {
            const auto blank = std::min(line.find(' '), line.size());
            names[line.substr(0, blank)] = line.substr(std::min(blank + 1, line.size()));
        }
    }
    return names;
}

inline void compareWithList(const std::map<std::string, std::string>& list,
                            const std::set<std::string>& exported, const std::string& path) {
    for (const auto& name : list) {
        EXPECT_EQ(1U, exported.count(name.first))
            << name.first
            << " isn't exported any more. What is built against it no longer works: bring it back.";
    }
    for (const std::string& name : exported) {
        EXPECT_EQ(1U, list.count(name)) << name << " is exported, and not in " << path
                                        << ". Add it there if it is to be there for ever, or else hide it.";
    }
}

}  // namespace vlox_test

#endif
