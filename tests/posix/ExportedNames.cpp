#include "support/ExportedNames.h"

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <gtest/gtest.h>

namespace vlox_test {

std::set<std::string> exportedNames(const std::string& library) {
    Poco::Pipe pipe;
    const Poco::ProcessHandle process = Poco::Process::launch(
        NM_PROGRAM, {"-D", "--defined-only", "--format=posix", library}, nullptr, &pipe, nullptr);
    Poco::PipeInputStream table(pipe);
    std::set<std::string> names;
    for (std::string line; std::getline(table, line);) {
        names.insert(line.substr(0, line.find_first_of(" @")));
    }
    EXPECT_EQ(0, process.wait());
    return names;
}

}  // namespace vlox_test
