#include "QuietFile.h"
#include "Report.h"

namespace inspect {

// Numbers are cast, since a file may hold anything in any column.
Report reportOnStore(const QuietFile& file) {
    return {
        {"tasks by status and priority",
         {"status#", "priority#", "type#", "qos#", "count#", "oldest (s)#", "taken next by"},
         file.rows(
             "SELECT CAST(status AS INTEGER), CAST(priority AS INTEGER), CAST(type AS INTEGER),"
             " CAST(qos AS INTEGER), count(*),"
             " CAST(strftime('%s', 'now') - min(create_time) AS INTEGER),"
             " CASE WHEN status=0 AND type=1 AND qos=4"
             "       AND max(strftime('%s', 'now') - create_time >= qos_para)"
             "      THEN 'sweepTimeoutTasks, and getTasks, which leaves them waiting'"
             "      WHEN status=0 AND type&5 THEN 'getTasks, which leaves them waiting'"
             "      WHEN status=0 THEN 'getTask and getTasks'"
             "      WHEN status=4 THEN 'nobody: the result is stored, the task kept'"
             "      WHEN type!=8 AND qos IN (2,3,4) THEN 'after a restart sweepTaskWithQosRetryProcess'"
             "      ELSE 'after a restart resetTaskStatus' END"
             " FROM table_task GROUP BY status, priority, type, qos ORDER BY status, priority, type, qos")},
        {"head of the queue",
         {"task", "priority#", "type#", "age (s)#", "bytes#"},
         file.rows("SELECT task_id, CAST(priority AS INTEGER), CAST(type AS INTEGER),"
                   " CAST(strftime('%s', 'now') - create_time AS INTEGER), length(CAST(task_data AS BLOB))"
                   " FROM table_task WHERE status=0 ORDER BY priority, id LIMIT 10")},
        {"results waiting",
         {"type#", "status#", "return code#", "count#", "oldest (s)#"},
         file.rows(
             "SELECT CAST(type AS INTEGER), CAST(status AS INTEGER), CAST(return_code AS INTEGER), count(*),"
             " CAST(strftime('%s', 'now') - min(complete_time) AS INTEGER)"
             " FROM table_result GROUP BY type, status, return_code ORDER BY type, status, return_code")},
        {"sequence numbers",
         {"class#", "last#"},
         file.rows(
             "SELECT CAST(priority AS INTEGER), CAST(seqid AS INTEGER) FROM table_seqid ORDER BY priority")},
        {"rows of the other tables",
         {"table", "count#"},
         file.rows("SELECT 'table_fileTaskInfo', count(*) FROM table_fileTaskInfo"
                   " UNION ALL SELECT 'table_seqid_messageid', count(*) FROM table_seqid_messageid"
                   " UNION ALL SELECT 'table_send_failed_msgs', count(*) FROM table_send_failed_msgs"
                   " UNION ALL SELECT 'table_msg_cmd', count(*) FROM table_msg_cmd"
                   " UNION ALL SELECT 'table_groupVersionInfo', count(*) FROM table_groupVersionInfo"
                   " UNION ALL SELECT 'table_local_msg', count(*) FROM table_local_msg"
                   " UNION ALL SELECT 'table_key_value', count(*) FROM table_key_value")},
    };
}

}  // namespace inspect
