#include <Poco/Environment.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/SharedLibrary.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/ExportedNames.h"
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
    // Decorated names and those of compiler and linker begin with an underscore.
    std::set<std::string> exported;
    for (const std::string& name : vlox_test::exportedNames(LIBRARY_FILE)) {
        if (name.front() != '_') {
            exported.insert(name);
        }
    }
    vlox_test::compareWithList(vlox_test::namesOfList(INTERFACE_LIST), exported, INTERFACE_LIST);
}

TEST(Interface, FunctionsAreFoundByNameAndConstantsKeepTheirValues) {
    Library library;
    for (const auto& [name, value] : vlox_test::namesOfList(INTERFACE_LIST)) {
        SCOPED_TRACE(name);
        if (value.empty()) {
            EXPECT_NE(nullptr, library.find<void>(name)) << "a function";
        } else if (name.find("SYMBOL_") == 0) {
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

// Without destroySDK(): the library has to see to its lines by itself, wherever its own thread and those of
// the application stand when the process ends.
TEST(Interface, LinesLoggedBeforeTheProcessEndsAreWritten) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const vlox_test::TempDir home;
    const char* const shared = "VLOX_INTERFACE_TEST_DIRECTORY";  // the child's, too
    if (!Poco::Environment::has(shared)) {
        Poco::Environment::set(shared, home.path());
    }
    const std::string directory = Poco::Environment::get(shared);
    for (int round = 0; round < 10; ++round) {
        EXPECT_EXIT(
            {
                auto& library = *new Library;
                library.find<int(LogParam, const char*, int)>("initialize")({2, 0, directory.c_str()},
                                                                            directory.c_str(), 0);
                using Print = int(int, const char*, const char*, int, const char*, ...);
                Print* const print = library.find<Print>("vloxprint_v2");
                std::atomic<int> background{0};
                std::thread([&] {
                    for (;;) {
                        print(2, "f.cpp", "f", 1, "endless %d", ++background);
                    }
                }).detach();
                while (background < 100) {
                    std::this_thread::yield();
                }
                for (int i = 0; i < 500; ++i) {
                    print(2, "f.cpp", "f", 1, "round line %d", i);
                }
                std::exit(3);
            },
            testing::ExitedWithCode(3), "");
    }
    std::map<std::string, int> times;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ifstream log(entry.path());
        for (std::string line; std::getline(log, line);) {
            const auto place = line.find("round line ");
            times[line.substr(std::min(place, line.size()))] += place == std::string::npos ? 0 : 1;
        }
    }
    for (int i = 0; i < 500; ++i) {
        EXPECT_LE(10, times["round line " + std::to_string(i)]) << i;
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
