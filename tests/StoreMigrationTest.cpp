#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/StoreFixture.h"

using namespace vloxlib;
using namespace vlox_test;
using testing::ElementsAre;

namespace {

class StoreMigrationTest : public StoreFixture {
protected:
    // Makes the file one of an older version, with these payloads of file tasks or file results.
    void makeOld(const std::string& table, const std::vector<std::string>& payloads) {
        raw("DELETE FROM table_key_value");
        const RawDatabase database(file());
        const bool task = table == "table_task";
        sqlite3_stmt* insert = nullptr;
        const char* const sql =
            task ? "INSERT INTO table_task(task_id,type,qos,qos_para,priority,task_data,status) "
                   "VALUES(?,8,1,60,1,?,1)"
                 : "INSERT INTO table_result(result_id,type,result_data) VALUES(?,8,?)";
        ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(database.handle(), sql, -1, &insert, nullptr));
        for (std::size_t row = 0; row < payloads.size(); ++row) {
            sqlite3_bind_int64(insert, 1, static_cast<sqlite3_int64>(row));
            sqlite3_bind_text(insert, 2, payloads[row].data(), static_cast<int>(payloads[row].size()),
                              SQLITE_STATIC);
            EXPECT_EQ(SQLITE_DONE, sqlite3_step(insert));
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
    }
    std::vector<std::string> migrated(const std::string& table, const std::vector<std::string>& payloads) {
        makeOld(table, payloads);
        store();
        return values(table == "table_task" ? "SELECT task_data FROM table_task ORDER BY id"
                                            : "SELECT result_data FROM table_result ORDER BY id");
    }
    void forgetRows() { raw("DELETE FROM table_task; DELETE FROM table_result"); }
};

std::string payload(const std::string& type, const std::string& escapedData) {
    return R"({"httpResquestType":)" + type + R"(,"httpResquestData":")" + escapedData + R"(","more":1})";
}

}  // namespace

TEST_F(StoreMigrationTest, FilePayloadsGainTheirTag) {
    struct Row {
        const char* why;
        std::string old;
        std::string task;
        std::string result;
    };
    const std::string untouched = payload("51", R"( { \"a\" : 1.50 } )");
    const std::string number = payload("50", "7");
    const Row rows[] = {
        {"an upload keeps its type, and other members of the outer object go",
         payload("50", R"( {\"a\" : [1, 2.5, null] } )"),
         R"({"httpResquestType":50,"httpResquestData":"{\"a\":[1,2.5,null],\"tag\":\"CommonFileTag\"}"})",
         R"({"httpResquestType":50,"httpResulttData":"{\"a\":[1,2.5,null],\"tag\":\"CommonFileTag\"}"})"},
        {"a download too", payload("52", "{}"),
         R"({"httpResquestType":52,"httpResquestData":"{\"tag\":\"CommonFileTag\"}"})",
         R"({"httpResquestType":52,"httpResulttData":"{\"tag\":\"CommonFileTag\"}"})"},
        {"a cloud disk upload hands on what is there as text, a task only",
         payload("53", R"({\"diskId\":\"d\\\"1\",\"contentType\":3,\"x\":0})"),
         R"({"httpResquestType":50,"httpResquestData":"{\"diskId\":\"d\\\"1\",\"contentType\":3,\"x\":0,)"
         R"(\"extraInfo\":\"{\\\"diskId\\\":\\\"d\\\\\\\"1\\\"}\",\"tag\":\"CloudDiskFileTag\"}"})",
         R"({"httpResquestType":50,"httpResulttData":"{\"diskId\":\"d\\\"1\",\"contentType\":3,\"x\":0,)"
         R"(\"tag\":\"CloudDiskFileTag\"}"})"},
        {"a cloud disk download has no such member", payload("54", R"({\"diskId\":\"d\"})"),
         R"({"httpResquestType":52,"httpResquestData":"{\"diskId\":\"d\",\"tag\":\"CloudDiskFileTag\"}"})",
         R"({"httpResquestType":52,"httpResulttData":"{\"diskId\":\"d\",\"tag\":\"CloudDiskFileTag\"}"})"},
        {"another type stays byte for byte", untouched, untouched, untouched},
        {"data that is no object stays", number, number, number},
    };
    std::vector<std::string> old;
    for (const Row& row : rows) {
        old.push_back(row.old);
    }
    const std::vector<std::string> tasks = migrated("table_task", old);
    EXPECT_EQ("3.0.x", value("SELECT value FROM table_key_value"));
    EXPECT_EQ("6", value("SELECT count(*) FROM table_task WHERE status=1"))
        << "nothing else of a row changes";
    forgetRows();
    const std::vector<std::string> results = migrated("table_result", old);
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        SCOPED_TRACE(rows[index].why);
        EXPECT_EQ(rows[index].task, tasks.at(index));
        EXPECT_EQ(rows[index].result, results.at(index));
    }
}

TEST_F(StoreMigrationTest, PayloadThatDoesNotParseStopsItForAllRowsAndForGood) {
    struct Row {
        const char* why;
        std::string payload;
    };
    const std::string good = payload("50", "{}");
    const Row rows[] = {
        {"no JSON", "{\"httpResquestType\":"},
        {"nothing", ""},
        {"an array", "[1]"},
        {"null", "null"},
        {"no inner text", R"({"httpResquestType":50})"},
        {"an inner object where text is due", R"({"httpResquestType":50,"httpResquestData":{}})"},
        {"inner text that doesn't parse, of a type that isn't converted", payload("51", "{")},
        {"nesting without end", std::string(100000, '[')},
        {"nesting without end inside", payload("50", std::string(100000, '['))},
    };
    for (const Row& row : rows) {
        for (const char* table : {"table_task", "table_result"}) {
            SCOPED_TRACE(std::string(row.why) + " in " + table);
            const LogCapture log;
            EXPECT_THAT(migrated(table, {good, row.payload, good}), ElementsAre(good, row.payload, good));
            EXPECT_EQ(1, log.count("W", "parse json data fail"));
            EXPECT_EQ("3.0.x", value("SELECT value FROM table_key_value"));
            store();
            EXPECT_EQ(1, log.count("parse json data fail")) << "not tried again";
            forgetRows();
        }
    }
}

TEST_F(StoreMigrationTest, OddTypesAndMembersDoNoHarm) {
    const std::vector<std::string> odd = {
        R"({"httpResquestType":"50","httpResquestData":"{}"})",    // text where a number is due
        R"({"httpResquestType":50.5,"httpResquestData":"{}"})",    // no integer
        R"({"httpResquestType":null,"httpResquestData":"null"})",  // inner null
        R"({"httpResquestType":53,"httpResquestData":"[1]"})",     // inner array
        R"({"httpResquestType":53,"httpResquestData":12})",        // a number reads as its digits
    };
    EXPECT_EQ(odd, migrated("table_task", odd));
}

TEST_F(StoreMigrationTest, UnknownVersionIsConvertedAtEveryStart) {
    makeOld("table_task", {payload("53", "{}")});
    RawDatabase(file()).run("INSERT INTO table_key_value VALUES('custom_version','2.0')");
    const LogCapture log;
    store();
    EXPECT_EQ(1, log.count("W", "method=setKeyAndValue,id=custom_version,errcode=19"));
    EXPECT_EQ("2.0", value("SELECT value FROM table_key_value"));
    store();
    EXPECT_EQ(2, log.count("W", "method=setKeyAndValue"));
    EXPECT_EQ(
        R"({"httpResquestType":50,"httpResquestData":"{\"extraInfo\":\"{}\",\"tag\":\"CloudDiskFileTag\",)"
        R"(\"tag\":\"CommonFileTag\"}"})",
        value("SELECT task_data FROM table_task"));
}

TEST_F(StoreMigrationTest, MessageIdsGainTheirTimestampByTheWordInTheTablesText) {
    raw("DROP TABLE table_seqid_messageid;"
        "CREATE TABLE table_seqid_messageid('vloxid' INTEGER,'msgid' TEXT UNIQUE);"
        "INSERT INTO table_seqid_messageid VALUES(5,'old')");
    store();
    EXPECT_THAT(values("SELECT * FROM table_seqid_messageid"), ElementsAre("5", "old", "0"));
    raw("DROP TABLE table_seqid_messageid;"
        "CREATE TABLE table_seqid_messageid('vloxid' INTEGER,'msgid' TEXT UNIQUE /* no timestamp */)");
    const LogCapture log;
    store();
    EXPECT_EQ("2", value("SELECT count(*) FROM pragma_table_info('table_seqid_messageid')"));
    raw("DROP TABLE table_seqid_messageid; CREATE VIEW table_seqid_messageid AS SELECT 1 AS vloxid");
    store();
    EXPECT_EQ(1, log.count("W", "alter table_seqid_messageid failed for ")) << "the store carries on";
}
