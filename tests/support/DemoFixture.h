#ifndef TESTS_SUPPORT_DEMOFIXTURE_H
#define TESTS_SUPPORT_DEMOFIXTURE_H

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <sqlite3.h>

#include <csignal>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/DevServer.h"
#include "support/TempDir.h"

namespace vlox_test {

inline std::string toText(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream source(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(source, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The example application, run as a user would run it: what counts is what it leaves behind and prints.
class DemoTest : public testing::Test {
protected:
    DemoTest() {
        // A background job's is ignored, and the application would inherit that.
        std::signal(SIGINT, SIG_DFL);
        serve({});
    }

    void serve(const std::vector<std::string>& arguments) {
        m_server.reset();
        m_server = std::make_unique<DevServer>(arguments);
        m_dir.write("platform.json", toText(m_server->line()));
    }
    DevServer& server() { return *m_server; }

    std::string messages(const std::string& lines) const {
        m_dir.write("messages.jsonl", lines);
        return m_dir.path("messages.jsonl");
    }

    /// One run of the application; what it prints is in a file afterwards.
    class Run {
    public:
        Run(const DemoTest& test, const std::string& file, std::vector<std::string> options = {})
            : Run(test, with(std::move(options), file), std::vector<std::string>{}) {}
        /// @param launcher a command that runs what stands behind it; empty: none
        Run(const DemoTest& test, const std::vector<std::string>& options,
            const std::vector<std::string>& launcher = {})
            : m_dir(test.m_dir),
              m_process(launch(command(options, launcher), m_pipe)),
              m_printed(std::async(std::launch::async, [this] {
                  Poco::PipeInputStream stream(m_pipe);
                  return std::string{std::istreambuf_iterator<char>(stream), {}};
              })) {}
        // By its number: on Windows the handle would be closed, and wait() needs it.
        void kill() { Poco::Process::kill(m_process.id()); }
        int pid() const { return static_cast<int>(m_process.id()); }
        // By its output: a process that has ended but wasn't waited for counts as running on some systems.
        bool running() const {
            return m_printed.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
        }
        int wait() {
            const int code = m_process.wait();
            m_dir.write("output", m_printed.get());
            return code;
        }

    private:
        static std::vector<std::string> with(std::vector<std::string> options, const std::string& last) {
            options.push_back(last);
            return options;
        }
        std::vector<std::string> command(const std::vector<std::string>& options,
                                         std::vector<std::string> all) const {
            all.insert(all.end(), {VLOX_MESSENGER_PATH, "--platform", m_dir.path("platform.json"), "--dir",
                                   m_dir.path("data"), "--summary", m_dir.path("summary.json")});
            all.insert(all.end(), options.begin(), options.end());
            return all;
        }
        static Poco::ProcessHandle launch(const std::vector<std::string>& command, Poco::Pipe& output) {
            const std::vector<std::string> arguments(command.begin() + 1, command.end());
            return Poco::Process::launch(command.front(), arguments, nullptr, &output, &output);
        }

        const TempDir& m_dir;
        Poco::Pipe m_pipe;
        Poco::ProcessHandle m_process;  // stays below the pipe, which its launch fills
        std::future<std::string> m_printed;
    };
    int run(const std::string& file) const { return Run(*this, file).wait(); }
    std::string output() const { return m_dir.read("output"); }

    long long figure(const char* name) const {
        rapidjson::Document summary;
        summary.Parse(m_dir.read("summary.json").c_str());
        return summary.IsObject() && summary.HasMember(name) ? summary[name].GetInt64() : -1;
    }
    void store(const std::string& sql) const {
        sqlite3* db = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(m_dir.path("data/messages.db").c_str(), &db));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr)) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
    struct Result {
        int code;
        std::string data;
    };
    /// The journal by task id; a test fails where one id stands there twice.
    std::map<std::string, Result> results() const {
        std::map<std::string, Result> found;
        for (const std::string& line : linesOf(m_dir.read("data/results.jsonl"))) {
            rapidjson::Document result;
            result.Parse(line.c_str());
            EXPECT_TRUE(result.IsObject()) << line;
            EXPECT_TRUE(found
                            .emplace(result["id"].GetString(),
                                     Result{result["code"].GetInt(), result["data"].GetString()})
                            .second)
                << line;
        }
        return found;
    }
    /// What the service got, out of the results; the token, which the library adds, left out.
    std::multiset<std::string> echoed() const {
        std::multiset<std::string> bodies;
        for (const auto& [id, result] : results()) {
            EXPECT_EQ(0, result.code) << id;
            rapidjson::Document data;
            data.Parse(result.data.c_str());
            if (data.IsObject() && data.HasMember("params")) {
                data["params"].RemoveMember("token");
                bodies.insert(toText(data["params"]));
            }
        }
        return bodies;
    }
    static std::multiset<std::string> sent() {
        std::multiset<std::string> bodies;
        std::ifstream file(VLOX_MESSAGES_PATH);
        for (std::string line; std::getline(file, line);) {
            rapidjson::Document message;
            message.Parse(line.c_str());
            bodies.insert(toText(message));
        }
        return bodies;
    }

    TempDir m_dir;
    std::unique_ptr<DevServer> m_server;
};

/// Runs commands that each are to be refused with one line and the exit code 2.
inline void expectOneLineAndTwo(const std::vector<std::vector<std::string>>& commands) {
    for (const auto& command : commands) {
        SCOPED_TRACE(testing::PrintToString(command));
        Poco::Pipe errors;
        const std::vector<std::string> arguments(command.begin() + 1, command.end());
        const Poco::ProcessHandle process =
            Poco::Process::launch(command.front(), arguments, nullptr, nullptr, &errors);
        Poco::PipeInputStream stream(errors);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(2, process.wait());
        EXPECT_EQ(1U, linesOf(text).size()) << text;
    }
}

}  // namespace vlox_test

#endif
