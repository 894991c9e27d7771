#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "support/StoreFixture.h"

using namespace vlox_test;
using namespace vloxlib;

namespace {

struct Outcome {
    int code;
    std::string output;
    std::string complaint;
};

Outcome inspectFile(const std::vector<std::string>& arguments) {
    Poco::Pipe output;
    Poco::Pipe complaint;
    const auto process = Poco::Process::launch(VLOX_INSPECT_PATH, arguments, nullptr, &output, &complaint);
    Poco::PipeInputStream outputStream(output);
    Poco::PipeInputStream complaintStream(complaint);
    Outcome outcome;
    Poco::StreamCopier::copyToString(outputStream, outcome.output);
    Poco::StreamCopier::copyToString(complaintStream, outcome.complaint);
    outcome.code = process.wait();
    return outcome;
}

rapidjson::Document json(const std::string& kind, const std::string& file) {
    const Outcome outcome = inspectFile({"--json", kind, file});
    EXPECT_EQ(0, outcome.code) << outcome.complaint;
    rapidjson::Document document;
    document.Parse(outcome.output.c_str());
    EXPECT_FALSE(document.HasParseError()) << outcome.output;
    return document;
}

// Names with contents: what must be the same before and after.
std::vector<std::string> contents(const TempDir& dir) {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        all.push_back(entry.path().filename().string() + ": " + dir.read(entry.path().filename().string()));
    }
    std::sort(all.begin(), all.end());
    return all;
}

using InspectStore = StoreFixture;

}  // namespace

TEST_F(InspectStore, TellsTasksResultsAndSequenceNumbersAndLeavesNoTrace) {
    addTask("later", 8, 5);
    addTask("first", 8, 1);
    addTask("first behind", 8, 1);
    addTask("expires", 1, 7, QoS::qosRetryUtilTimeout(0));
    store().addTask("swept", static_cast<TaskType>(16), QoS::qosRetryForever(), static_cast<TaskPriority>(1),
                    "x");
    store().sweepTask("swept", -7, "");
    raw("UPDATE table_task SET create_time=create_time-100;");
    raw("REPLACE INTO table_seqid(seqid,priority) VALUES(4294967301,1);");
    const std::vector<std::string> before = contents(m_dir);

    const rapidjson::Document found = json("store", file());
    const auto& tasks = found["tasks_by_status_and_priority"];
    ASSERT_EQ(3U, tasks.Size());
    EXPECT_EQ(2, tasks[0]["count"].GetInt());
    EXPECT_LE(100, tasks[0]["oldest_s"].GetInt());
    EXPECT_STREQ("getTask and getTasks", tasks[0]["taken_next_by"].GetString());
    EXPECT_EQ(0U, std::string(tasks[2]["taken_next_by"].GetString()).find("sweepTimeoutTasks"));
    const auto& head = found["head_of_the_queue"];
    ASSERT_EQ(4U, head.Size());
    EXPECT_STREQ("first", head[0]["task"].GetString());
    EXPECT_STREQ("first behind", head[1]["task"].GetString());
    EXPECT_EQ(-7, found["results_waiting"][0]["return_code"].GetInt());
    EXPECT_EQ(4294967301, found["sequence_numbers"][0]["last"].GetInt64());

    const Outcome plain = inspectFile({"store", file()});
    EXPECT_NE(std::string::npos, plain.output.find("first behind")) << plain.output;
    EXPECT_EQ(before, contents(m_dir));
}

TEST_F(InspectStore, ReadsOneMomentOfAProgramAtWork) {
    store();
    std::atomic<bool> ending{false};
    std::thread program([&] {
        for (int id = 0; !ending; ++id) {
            const std::string name = std::to_string(id);
            store().addFileTask(name, TASK_TYPE_FILE, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT,
                                std::string(id % 100 == 0 ? 1 << 20 : 100, 'p'), name);
        }
    });
    for (int round = 0; round < 10; ++round) {
        const rapidjson::Document found = json("store", file());
        int tasks = 0;
        for (const auto& row : found["tasks_by_status_and_priority"].GetArray()) {
            tasks += row["count"].GetInt();
        }
        EXPECT_EQ(tasks, found["rows_of_the_other_tables"][0]["count"].GetInt()) << "one digest for each";
    }
    ending = true;
    program.join();
}

TEST_F(InspectStore, ReadsWhatAKilledProcessLeftInTheLog) {
    addTask("only in the log");
    const TempDir killed;
    for (const char* name : {"client.db", "client.db-wal"}) {
        std::filesystem::copy_file(m_dir.path(name), killed.path(name));
    }
    const std::vector<std::string> before = contents(killed);
    const rapidjson::Document found = json("store", killed.path("client.db"));
    EXPECT_STREQ("only in the log", found["head_of_the_queue"][0]["task"].GetString());
    EXPECT_EQ(before, contents(killed));
}

TEST_F(InspectStore, FindsAFileWithANameInAnyScript) {
    addTask("first");
    close();
    const std::string name = u8"数据 für 😀";
    m_dir.write(name, m_dir.read("client.db"));
    EXPECT_EQ(1U, json("store", m_dir.path(name))["head_of_the_queue"].Size());
    const Outcome missing = inspectFile({"store", m_dir.path(name + "!")});
    EXPECT_NE(std::string::npos, missing.complaint.find(name + "! is no file")) << missing.complaint;
}

TEST(InspectDns, TellsWhichAddressWouldBeChosen) {
    const TempDir dir;
    RawDatabase cache(dir.path("vloxDomain.db"));
    cache.run(
        "CREATE TABLE domain_t('id' INTEGER PRIMARY KEY, 'domain' TEXT, 'sp' TEXT DEFAULT '', "
        "'expireTime' INTEGER, 'finallyTime' INTEGER DEFAULT 0)");
    cache.run(
        "CREATE TABLE ip_t('id' INTEGER PRIMARY KEY, 'domain' TEXT, 'ip' TEXT, 'port' INTEGER, 'sp' TEXT "
        "DEFAULT '', 'expireTime' INTEGER, 'priority' INTEGER, 'roundtripTime' INTEGER DEFAULT 0, "
        "'successNum' "
        "INTEGER DEFAULT 0, 'errNum' INTEGER DEFAULT 0, 'finallySuccessTime' INTEGER DEFAULT 0, "
        "'finallyFailTime' INTEGER DEFAULT 0, 'grade' INTEGER DEFAULT 0)");
    cache.run("INSERT INTO domain_t(domain) VALUES('a.example')");
    cache.run(
        "INSERT INTO ip_t(domain,ip,finallySuccessTime,successNum,roundtripTime) VALUES"
        "('a.example','10.0.0.1',50,9,0),('a.example','10.0.0.2',40,1,0),('a.example','10.0.0.3',0,0,9999),"
        "('gone.example','10.0.0.4',0,0,0)");
    const rapidjson::Document found = json("dns", dir.path("vloxDomain.db"));
    EXPECT_EQ(3, found["domains"][0]["addresses"].GetInt());
    std::vector<std::string> chosen;
    for (const auto& address : found["addresses"].GetArray()) {
        if (address["chosen_now"] == "yes") {
            chosen.emplace_back(address["address"].GetString());
        }
    }
    EXPECT_EQ(std::vector<std::string>{"10.0.0.2"}, chosen)
        << "usable, and has not worked for the longest time";

    cache.run(
        "PRAGMA cache_size=1; WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM n WHERE x<500) "
        "INSERT INTO domain_t(domain,sp) SELECT 'before', hex(zeroblob(500)) FROM n;"
        "BEGIN; UPDATE domain_t SET domain='behind'");
    EXPECT_NE(std::string::npos, dir.read("vloxDomain.db").find("behind")) << "written, but not committed";
    const rapidjson::Document meanwhile = json("dns", dir.path("vloxDomain.db"));
    ASSERT_EQ(501U, meanwhile["domains"].Size());
    EXPECT_STREQ("before", meanwhile["domains"][1]["domain"].GetString());
    EXPECT_STREQ("before", meanwhile["domains"][500]["domain"].GetString());
}

TEST(Inspect, RefusesWhatItCantRead) {
    const TempDir dir;
    dir.write("text.db",
              "no database at all, but long enough to hold the header of one. " + std::string(99, 'x'));
    RawDatabase(dir.path("other.db")).run("CREATE TABLE t(x)");
    struct Row {
        const char* why;
        std::vector<std::string> arguments;
        int code;
    };
    const Row rows[] = {
        {"no arguments", {}, 2},
        {"an unknown kind", {"log", dir.path("text.db")}, 2},
        {"an unknown option", {"--yaml", "store", dir.path("text.db")}, 2},
        {"nothing there", {"store", dir.path("missing.db")}, 1},
        {"a directory", {"store", dir.path()}, 1},
        {"no database", {"store", dir.path("text.db")}, 1},
        {"another database", {"dns", dir.path("other.db")}, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const Outcome outcome = inspectFile(row.arguments);
        EXPECT_EQ(row.code, outcome.code);
        EXPECT_EQ(1, std::count(outcome.complaint.begin(), outcome.complaint.end(), '\n'))
            << outcome.complaint;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.path("missing.db")));
}
