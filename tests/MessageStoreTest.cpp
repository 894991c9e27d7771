#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/StoreFixture.h"
#include "vloxlib/utility/RapidJsonUtils.h"

using namespace vloxlib;
using namespace vlox_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MessageStoreTest : public StoreFixture {
protected:
    using Ids = std::map<std::string, int64>;

    static BaseResult message(const std::string& id) {
        return {id, static_cast<ResultType>(16), "text of " + id, 0, RESULT_STATUS_STORED};
    }
    static CMDInfoItemSet commands(const std::vector<std::string>& ids) {
        CMDInfoItemSet items;
        for (const std::string& id : ids) {
            items.insert(std::make_shared<CMDInfoItem>(id, "m", 1, "from", "", ""));
        }
        return items;
    }
    int submit(int target, Ids ids, const std::vector<BaseResult>& results = {message("a"), message("b")}) {
        CMDInfoItemSet items = commands({"c1", "c2"});
        return store().submitBatchMessage(target, results, items, ids, 7, 8);
    }
    // How many rows stand in the tables that one batch may change.
    std::vector<std::string> batchRows() {
        return values(
            "SELECT (SELECT count(*) FROM table_result), (SELECT count(*) FROM table_local_msg),"
            "(SELECT count(*) FROM table_msg_cmd), (SELECT count(*) FROM table_seqid_messageid),"
            "(SELECT count(*) FROM table_seqid)");
    }
};

std::string json(const rapidjson::Value& value) { return RapidJsonUtils::jsonToString(value); }

}  // namespace

TEST_F(MessageStoreTest, SequenceNumbersComeBackInTheirLowHalf) {
    struct Row {
        const char* why;
        int64 stored;
        int64 back;
    };
    const Row rows[] = {
        {"fits", 17, 17},
        {"negative", -2, -2},
        {"one more than 32 bits hold", 4294967301LL, 5},
        {"the sign bit of the half", 0x180000000LL, -0x80000000LL},
    };
    EXPECT_EQ(-1, store().getSeqID(3));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_TRUE(store().retain(row.stored, 3));
        EXPECT_EQ(row.back, store().getSeqID(3));
    }
    EXPECT_TRUE(store().retainSeqId({{3, 20}, {4, 21}}));
    EXPECT_EQ(20, store().getSeqID(3));
    EXPECT_EQ(-1, store().getSeqID(4)) << "a class without a row stays without";
    EXPECT_EQ(1, this->rows("table_seqid")) << "one row per class";
    store().retain(1, 4);
    refuse("UPDATE", "table_seqid", "NEW.priority=4");
    EXPECT_FALSE(store().retainSeqId({{3, 30}, {4, 31}}));
    EXPECT_EQ(20, store().getSeqID(3)) << "undone";
    raw("DROP TABLE table_seqid; CREATE TABLE table_seqid(other)");
    const LogCapture log;
    EXPECT_EQ(-1, store().getSeqID(3));
    EXPECT_EQ(1, log.count("E", "get seqID failed for no such column: priority"));
    EXPECT_FALSE(store().retainSeqId({{3, 30}}));
    EXPECT_EQ(1, log.count("W", "retain seqId to db failed. rc = 1 errInfo=no such column"));
    EXPECT_FALSE(store().retain(1, 1));
}

TEST_F(MessageStoreTest, PresenceOfOneId) {
    struct Row {
        const char* why;
        std::string id;
        bool found;
    };
    // The longest id that fits into a statement of 511 bytes with its closing quote.
    const std::size_t longest =
        511 - std::string("select count(*) from table_seqid_messageid where msgid='").size() - 1;
    const Row rows[] = {
        {"plain", "id \xc3\xa9 % _ \" --", true},
        {"empty", "", true},
        {"an apostrophe breaks the question", "it's", false},
        {"and so does what would be SQL", "x' OR '1'='1", false},
        {"the longest", std::string(longest, 'x'), true},
        {"one byte more", std::string(longest + 1, 'y'), false},
        {"far too long", std::string(100000, 'z'), false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_FALSE(store().isMsgIDExist(row.id.c_str()));
        EXPECT_FALSE(store().isMsgIDExistInSending(row.id.c_str()));
        EXPECT_TRUE(store().retainMsgID(5, row.id.c_str(), 99));
        EXPECT_FALSE(store().retainMsgID(6, row.id.c_str(), 99)) << "stored, found or not";
        store().retainSendMsgID(row.id.c_str());
        EXPECT_EQ(row.found, store().isMsgIDExist(row.id.c_str()));
        store().retainSendMsgID(row.id.c_str());
    }
    EXPECT_FALSE(store().isMsgIDExist(nullptr));
    EXPECT_FALSE(store().isMsgIDExistInSending(nullptr));
    EXPECT_FALSE(store().isMsgIDExist("unknown"));
    EXPECT_TRUE(store().isMsgIDExistInSending("id \xc3\xa9 % _ \" --"));
    EXPECT_FALSE(store().isMsgIDExistInSending("it's"));
    EXPECT_EQ(7, this->rows("table_seqid_messageid"));
    EXPECT_EQ(7, this->rows("table_send_failed_msgs")) << "twice leaves one row";
    EXPECT_EQ("7", value("SELECT count(*) FROM table_seqid_messageid WHERE vloxid=5 AND timestamp=99"));
}

TEST_F(MessageStoreTest, IdsOfSentMessagesAreStoredOneByOne) {
    const LogCapture log;
    store().retainSendMsgID("known");
    std::vector<std::string> ids = {"new", "known", "it's new"};
    store().retainSendMsgIDs(ids);
    EXPECT_EQ(1, log.count("W", "retain msgID to db failed. msgID=known,errInfo=UNIQUE constraint failed"));
    EXPECT_EQ(3, rows("table_send_failed_msgs"));
    store().retainSendMsgID(nullptr);
    EXPECT_EQ(1, log.count("W", "retain msgID to db failed. msgID=,errInfo=NOT NULL constraint failed"));
    raw("DROP TABLE table_send_failed_msgs; CREATE TABLE table_send_failed_msgs(other)");
    store().retainSendMsgIDs(ids);
    EXPECT_EQ(1, log.count("W", "retain msgID to db failed. rc = 1 errInfo="));
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_rollback_transaction()) << "no transaction is left open";
}

TEST_F(MessageStoreTest, IdsOfReceivedMessagesAreStoredAsAWholeOrNot) {
    Ids none;
    Ids ids = {{"a", 1}, {"it's", 2}};
    Ids again = {{"b", 3}, {"it's", 4}, {"z", 5}};
    EXPECT_TRUE(store().retainMsgID(none, false));
    EXPECT_TRUE(store().retainMsgID(ids, false));
    const LogCapture log;
    EXPECT_FALSE(store().retainMsgID(again, false));
    EXPECT_EQ(1, log.count("W", "Batch retainMsgID failed. result=19,msgId=it's"));
    EXPECT_EQ(1, log.count("W", "sqlite3_commit_transaction failed.")) << "behind the rollback";
    EXPECT_THAT(values("SELECT vloxid, msgid, timestamp FROM table_seqid_messageid ORDER BY msgid"),
                ElementsAre("0", "a", "1", "0", "it's", "2"));
    raw("DROP TABLE table_seqid_messageid; CREATE TABLE table_seqid_messageid(timestamp)");
    EXPECT_TRUE(store().retainMsgID(again, false)) << "what can't be prepared counts as stored";
    EXPECT_EQ(1, log.count("E", "retainMsgID error."));
    EXPECT_EQ(SQLITE_OK, store().sqlite3_rollback_transaction()) << "and leaves the BEGIN open";
    EXPECT_FALSE(store().isMsgIDExist("a"));
}

TEST_F(MessageStoreTest, PresenceOfMany) {
    Ids ids = {{"r1", 1}, {"it's", 2}};
    store().retainMsgID(ids, false);
    store().retainSendMsgID("s1");
    std::vector<int> found = {7, 7, 7, 7, 7};
    EXPECT_EQ(0, store().batchCheckExist({}, {}, found));
    EXPECT_THAT(found, ElementsAre(7, 7, 7, 7, 7));
    EXPECT_EQ(
        0, store().batchCheckExist({{"r1", 0}, {"s1", 1}, {"it's", 2}, {"unknown", 3}}, {{"s1", 4}}, found));
    EXPECT_THAT(found, ElementsAre(1, 7, 1, 7, 1));
    EXPECT_EQ(0, store().batchCheckExist({{"r1", -1}, {"it's", 5}}, {{"s1", 1000000}}, found))
        << "no such slots";
    EXPECT_EQ(-1, store().batchCheckExistInSendorRecvTable(2, {{"r1", 0}}, found)) << "no such table";
    std::unordered_map<std::string, int> tooMany;
    for (int id = 0; id < 300000; ++id) {
        tooMany.emplace(std::to_string(id), 0);
    }
    EXPECT_EQ(-1, store().batchCheckExist({{"r1", 1}}, tooMany, found));
    EXPECT_EQ(1, found[1]);
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_rollback_transaction()) << "no transaction is left open";
}

TEST_F(MessageStoreTest, Commands) {
    CMDInfoItem item("c", "m", 4, "it's me", "tos", "group");
    EXPECT_TRUE(store().retainCMDInfo(item));
    const LogCapture log;
    EXPECT_FALSE(store().retainCMDInfo(item));
    EXPECT_EQ(1,
              log.count("W", "retain CMDInfoItem to db failed. result=19,errInfo=UNIQUE constraint failed"));
    CMDInfoItemSet items = commands({"c", "c2"});
    items.insert(nullptr);
    EXPECT_EQ(3U, items.size());
    EXPECT_EQ(SQLITE_OK, store().retainCMDInfo(items, false)) << "a duplicate is passed over";
    const auto all = store().getAllStatusMsg();
    ASSERT_EQ(2U, all.size());
    EXPECT_EQ("it's me", all[0]->m_from);
    EXPECT_EQ("group", all[0]->m_groupId);
    EXPECT_EQ("c2", all[1]->m_cmdMessageId);
    EXPECT_TRUE(store().deleteCMDInfo(item));
    EXPECT_TRUE(store().deleteCMDInfo(item)) << "unknown by now";
    EXPECT_EQ(1, rows("table_msg_cmd"));
    refuse("INSERT", "table_msg_cmd", "NEW.cmdMessageId='d2'");
    items = commands({"d1", "d2"});
    EXPECT_EQ(SQLITE_CONSTRAINT, store().retainCMDInfo(items, false));
    EXPECT_EQ(1, rows("table_msg_cmd"));
    raw("DROP TABLE table_msg_cmd; CREATE VIEW table_msg_cmd AS SELECT x FROM nowhere");
    EXPECT_THAT(store().getAllStatusMsg(), IsEmpty());
    EXPECT_EQ(1, log.count("W", "get CMDInfoItem failed. errInfo=no such table: main.nowhere"));
    EXPECT_TRUE(store().deleteCMDInfo(item)) << "whatever happens";
}

TEST_F(MessageStoreTest, GroupVersions) {
    std::string version = "before";
    int members = -1;
    EXPECT_EQ(SQLITE_DONE, store().getGroupVersionInfo("m", version, members));
    EXPECT_EQ(SQLITE_OK,
              store().addGroupVersionInfos({{"m", "it's 1", 5}, {"m", "2", 6}, {"n", "3", 7}}, false));
    EXPECT_EQ(SQLITE_OK, store().getGroupVersionInfo("m", version, members));
    EXPECT_EQ("it's 1", version) << "a duplicate is passed over";
    EXPECT_EQ(5, members);
    refuse("INSERT", "table_groupVersionInfo", "NEW.messageId='p'");
    store().sqlite3_begin_transaction();
    EXPECT_EQ(SQLITE_CONSTRAINT, store().addGroupVersionInfos({{"o", "1", 1}, {"p", "1", 1}}, true));
    EXPECT_EQ(SQLITE_ERROR, store().sqlite3_commit_transaction()) << "the caller's transaction has ended";
    EXPECT_EQ(2, rows("table_groupVersionInfo"));
}

TEST_F(MessageStoreTest, HeldMessages) {
    std::vector<std::shared_ptr<LocalMessage>> messages(2);
    EXPECT_EQ(SQLITE_DONE, store().getLocalMessages(10, 0, messages));
    EXPECT_THAT(messages, IsEmpty());
    EXPECT_EQ(SQLITE_OK,
              store().addResultToLocalMessageTable({message("a"), message("b"), message("a")}, false));
    EXPECT_EQ(SQLITE_OK, store().addResultToLocalMessageTable(message("c")));
    EXPECT_EQ(SQLITE_OK, store().getLocalMessages(0, 1, messages));
    ASSERT_EQ(1U, messages.size()) << "a limit below one is one";
    EXPECT_EQ(2, messages[0]->getId());
    EXPECT_EQ("text of b", messages[0]->m_content);
    EXPECT_EQ(16, messages[0]->m_type);
    EXPECT_EQ(SQLITE_OK, store().getLocalMessages(10, 2, messages));
    EXPECT_EQ(2U, messages.size());
    int count = 0;
    EXPECT_EQ(SQLITE_OK, store().getMessageResultAmount(1, count));
    EXPECT_EQ(4, count);
    refuse("DELETE", "table_local_msg", "OLD.id=3");
    EXPECT_EQ(SQLITE_CONSTRAINT, store().deleteLocalMessages({1, 3}));
    EXPECT_EQ(4, rows("table_local_msg"));
    EXPECT_EQ(SQLITE_OK, store().deleteLocalMessages({1, 4, 999}));
    EXPECT_EQ(2, rows("table_local_msg"));
}

TEST_F(MessageStoreTest, BatchGoesWhereItsTargetSays) {
    EXPECT_EQ(0, submit(0, {{"id0", 1}}));
    EXPECT_THAT(batchRows(), ElementsAre("2", "0", "2", "1", "2"));
    EXPECT_EQ(0, submit(1, {{"id1", 1}}));
    EXPECT_THAT(batchRows(), ElementsAre("2", "2", "2", "2", "2"));
    EXPECT_EQ(0, submit(2, {{"id2", 1}})) << "no results, but all the rest";
    EXPECT_THAT(batchRows(), ElementsAre("2", "2", "2", "3", "2"));
    EXPECT_EQ(7, store().getSeqID(0));
    EXPECT_EQ(8, store().getSeqID(1));
}

TEST_F(MessageStoreTest, BatchThatFailsAnywhereLeavesNothing) {
    struct Row {
        const char* table;
        const char* when;
        int target;
        const char* line;
    };
    const Row rows[] = {
        {"table_result", "NEW.result_id='b'", 0, "error when sqlite operation addResult!"},
        {"table_local_msg", "NEW.messageId='b'", 1, "error when sqlite operation addResult!"},
        {"table_msg_cmd", "NEW.cmdMessageId='c2'", 2, "error when sqlite operation retainCMDInfo!"},
        {"table_seqid_messageid", "NEW.msgid='id'", 0, "error when sqlite operation retainMsgID!"},
        {"table_seqid", "NEW.priority=0", 0, "]  error when sqlite operation setLastSeqID[0]!"},
        {"table_seqid", "NEW.priority=1", 0, "error when sqlite operation setLastSeqID[1]!"},
    };
    const LogCapture log;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.when);
        refuse("INSERT", row.table, row.when);
        const std::ptrdiff_t before = log.count("E", row.line);
        EXPECT_EQ(1, submit(row.target, {{"id", 1}}));
        EXPECT_EQ(before + 1, log.count("E", row.line));
        refuseNoMore();
        EXPECT_THAT(batchRows(), ElementsAre("0", "0", "0", "0", "0"));
    }
    EXPECT_EQ(0, submit(0, {{"id", 1}}));
    EXPECT_EQ(1, submit(0, {{"fresh", 1}, {"id", 1}}, {message("c")})) << "an id that is stored already";
    EXPECT_THAT(batchRows(), ElementsAre("2", "0", "2", "1", "2"));
}

TEST(CMDInfoItem, OrderAndJson) {
    const CMDInfoItem a("c2", "m1", 0, "", "", "");
    const CMDInfoItem b("c1", "m2", 0, "", "", "");
    const CMDInfoItem c("c2", "m2", 0, "", "", "");
    EXPECT_TRUE(a < b && b < c && a < c) << "the message's id, then the command's";
    EXPECT_FALSE(b < a || c < b || c < c);

    rapidjson::Document document;
    document.Parse(
        R"({"cmdMessageID":"c","optMessageID":17,"status":"no number","from":null,"tos":"t","extra":1})");
    const CMDInfoItem item = CMDInfoItem::fromJson(document);
    EXPECT_EQ("17", item.m_messageId) << "an id may come as a number";
    EXPECT_EQ(0, item.m_status);
    EXPECT_EQ(R"({"cmdMessageID":"c","optMessageID":"17","status":0,"from":"","tos":"t"})",
              json(item.toJson(document)));
    document.SetArray();
    EXPECT_EQ(R"({"cmdMessageID":"","optMessageID":"","status":0,"from":""})",
              json(CMDInfoItem::fromJson(document).toJson(document)));
    EXPECT_EQ(R"({"cmdMessageID":"","optMessageID":"","status":-1,"from":"f","groupID":"it\"s"})",
              json(CMDInfoItem("", "", -1, "f", "", "it\"s").toJson(document)));
}

TEST(LocalMessage, JsonIsTheDataWithTwoMembersMore) {
    struct Row {
        const char* why;
        std::string content;
        const char* expected;
    };
    const Row rows[] = {
        {"the marked type", R"({"data":{"a":[1]},"receivedMessageType":775})",
         R"({"a":[1],"id":42,"messageType":1})"},
        {"another type", R"({"data":{},"receivedMessageType":774})", R"({"id":42,"messageType":0})"},
        {"no type", R"({"data":{}})", R"({"id":42,"messageType":0})"},
        {"a type that is no number", R"({"data":{},"receivedMessageType":"775"})",
         R"({"id":42,"messageType":0})"},
        {"no data", R"({"receivedMessageType":775})", "null"},
        {"data that is no object", R"({"data":[1]})", "null"},
        {"no object at all", "[]", "null"},
        {"no JSON", "{", "null"},
        {"nesting without end", std::string(1000000, '['), "null"},
    };
    const LogCapture log;
    LocalMessage message;
    message.m_id = 42;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        message.m_content = row.content;
        rapidjson::Document document;
        EXPECT_EQ(row.expected, json(message.toJson(document)));
    }
    EXPECT_EQ(2, log.count("E", "toJson parse Error: "));
    EXPECT_EQ(1, log.count("E", "toJson parse Error: {"));
}
