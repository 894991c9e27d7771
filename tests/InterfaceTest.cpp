#include <Poco/Environment.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/SharedLibrary.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/TempDir.h"
#include "support/UserSettings.h"

// Nothing here is linked to the library: it is seen as an application sees it that loads it at run time.

namespace {

struct Output {
    std::string text;
    int exitCode;
};

Output run(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& directory = ".") {
    Poco::Pipe pipe;
    const Poco::ProcessHandle process =
        Poco::Process::launch(program, arguments, directory, nullptr, &pipe, nullptr);
    Poco::PipeInputStream stream(pipe);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    return {text, process.wait()};
}

// The names that the library is to export, with the values of those that are constants.
std::map<std::string, std::string> expectedNames() {
    std::map<std::string, std::string> names;
    std::ifstream list(INTERFACE_LIST);
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const auto blank = std::min(line.find(' '), line.size());
        names[line.substr(0, blank)] = line.substr(std::min(blank + 1, line.size()));
    }
    return names;
}

// Decorated names and those of compiler and linker begin with an underscore.
std::set<std::string> exportedPlainNames() {
    std::set<std::string> names;
    std::istringstream table(run(NM_PROGRAM, {"-D", "--defined-only", "--format=posix", LIBRARY_FILE}).text);
    for (std::string line; std::getline(table, line);) {
        const std::string name = line.substr(0, line.find_first_of(" @"));
        if (name.front() != '_') {
            names.insert(name);
        }
    }
    return names;
}

class Library {
public:
    Library() : m_library(LIBRARY_FILE, Poco::SharedLibrary::SHLIB_LOCAL) {}
    ~Library() { m_library.unload(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    template <typename Type>
    Type* find(const std::string& name) {
        return reinterpret_cast<Type*>(m_library.getSymbol(name));
    }

private:
    Poco::SharedLibrary m_library;
};

struct LogParam {
    int level;
    int debugOutput;
    const char* directory;
};

}  // namespace

TEST(Interface, HasExactlyThePlainNamesOfTheList) {
    std::set<std::string> expected;
    for (const auto& name : expectedNames()) {
        expected.insert(name.first);
    }
    ASSERT_EQ(431U + 21U, expected.size()) << "the list itself is cut short";
    EXPECT_EQ(expected, exportedPlainNames());
}

TEST(Interface, ConstantsKeepTheirValues) {
    Library library;
    for (const auto& [name, value] : expectedNames()) {
        SCOPED_TRACE(name);
        if (value.empty()) {
            continue;
        }
        if (name.find("SYMBOL_") == 0) {
            EXPECT_EQ(value.front(), *library.find<const char>(name));
        } else {
            EXPECT_EQ(value, *library.find<const char* const>(name));
        }
    }
}

TEST(Interface, WorksWhenOpenedAtRunTimeAndOutlivesBeingClosed) {
    vlox_test::TempDir home;
    Poco::Environment::set("XDG_CONFIG_HOME", home.path());
    long long firstId = 0;
    for (const bool again : {false, true}) {
        Library library;
        const auto create = library.find<long long(const char*, const char*)>("createVloxClient");
        EXPECT_EQ(0, library.find<int(LogParam, const char*, int)>("initialize")({2, 0, nullptr}, "data", 0));
        const long long id = create("app", "me");
        EXPECT_GT(id, 0);
        EXPECT_EQ(0, library.find<int(long long, int, int)>("setConfigInt")(id, -1, 7));
        EXPECT_EQ(7, library.find<int(long long, int)>("getConfigInt")(id, -1));
        EXPECT_EQ(again, id == firstId) << "its threads go on, and so does its state";
        firstId = id;
        EXPECT_EQ(0, library.find<int()>("destroySDK")());
    }
}

TEST(Readme, SampleWorks) {
    vlox_test::TempDir home;
    Poco::Environment::set("XDG_CONFIG_HOME", home.path("config"));
    const Output output = run(SAMPLE_PROGRAM, {}, home.path());
    EXPECT_EQ(0, output.exitCode);
    EXPECT_NE(std::string::npos, output.text.find("command 7: hello")) << output.text;
    EXPECT_TRUE(vlox_test::storedSetting("deviceId"));
}
