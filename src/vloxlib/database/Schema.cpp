#include "vloxlib/database/Schema.h"

namespace vloxlib {

const TableDefinition storeTables[11] = {
    {"table_task",
     "CREATE TABLE IF NOT EXISTS table_task("
     "'id' INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
     "'task_id' TEXT NOT NULL UNIQUE,"
     "'type' INTEGER NOT NULL,"
     "'qos' INTEGER NOT NULL,"
     "'qos_para' INTEGER NOT NULL,"
     "'priority' INTEGER NOT NULL,"
     "'task_data' TEXT NOT NULL,"
     "'status' INTEGER NOT NULL,"
     "'create_time' INTEGER DEFAULT (strftime('%s', 'now')));"},
    {"table_result",
     "CREATE TABLE IF NOT EXISTS table_result("
     "'id' INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
     "'result_id' TEXT NOT NULL,"
     "'type' INTEGER NOT NULL,"
     "'result_data' TEXT NOT NULL,"
     "'return_code' INTEGER DEFAULT 0,"
     "'status' INTEGER DEFAULT 0,"
     "'complete_time' INTEGER DEFAULT (strftime('%s', 'now')),"
     "UNIQUE (result_id, type));"},
    {"table_fileTaskInfo",
     "CREATE TABLE IF NOT EXISTS table_fileTaskInfo("
     "'file_task_id' TEXT NOT NULL UNIQUE,"
     "'md5' TEXT NOT NULL UNIQUE);"},
    {"table_seqid",
     "CREATE TABLE IF NOT EXISTS table_seqid("
     "'priority' INTEGER UNIQUE,"
     "'seqid' INTEGER);"},
    {"table_seqid_messageid",
     "CREATE TABLE IF NOT EXISTS table_seqid_messageid("
     "'vloxid' INTEGER,"
     "'msgid' TEXT UNIQUE,"
     "'timestamp' INTEGER);"},
    {"table_send_failed_msgs",
     "CREATE TABLE IF NOT EXISTS table_send_failed_msgs("
     "'msgid' TEXT NOT NULL UNIQUE);"},
    // EXT is no slip to be mended: existing files carry that type.
    {"table_msg_cmd",
     "CREATE TABLE IF NOT EXISTS table_msg_cmd("
     "'cmdMessageId' TEXT NOT NULL,"
     "'messageId' TEXT NOT NULL,"
     "'status' INTEGER NOT NULL,"
     "'fromVloxId' TEXT NOT NULL,"
     "'tos' TEXT,"
     "'groupid' EXT,"
     "PRIMARY KEY(cmdMessageId, messageId));"},
    {"table_groupVersionInfo",
     "CREATE TABLE IF NOT EXISTS table_groupVersionInfo("
     "'id' INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
     "'messageId' TEXT NOT NULL,"
     "'groupVersion' TEXT NOT NULL,"
     "'groupMemberCount' INTEGER NOT NULL,"
     "UNIQUE (messageId));"},
    {"table_local_msg",
     "CREATE TABLE IF NOT EXISTS table_local_msg("
     "'id' INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
     "'messageId' TEXT NOT NULL,"
     "'type' INTEGER NOT NULL,"
     "'content' TEXT NOT NULL,"
     "'status' INTEGER DEFAULT 0,"
     "'extraInfo' TEXT);"},
    {"table_key_value",
     "CREATE TABLE IF NOT EXISTS table_key_value("
     "'key' TEXT NOT NULL UNIQUE,"
     "'value' TEXT);"},
    {"table_call_detail_record",
     "CREATE TABLE IF NOT EXISTS table_call_detail_record("
     "'cdrId' TEXT NOT NULL UNIQUE,"
     "'vloxid' TEXT NOT NULL,"
     "'deviceType' INTEGER NOT NULL,"
     "'mediaType' INTEGER NOT NULL,"
     "'businessType' INTEGER DEFAULT 0,"
     "'businessId' TEXT NOT NULL,"
     "'vendor' TEXT NOT NULL,"
     "'vendorInfo' TEXT NOT NULL,"
     "'beginTime' INTEGER DEFAULT (strftime('%s', 'now')),"
     "'endTime' INTEGER DEFAULT (strftime('%s', 'now')),"
     "'duration' INTEGER DEFAULT 0,"
     "'complete' INTEGER DEFAULT 0);"},
};

}  // namespace vloxlib
