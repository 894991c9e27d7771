// The store beside the same SQL, prepared once on a plain connection: same file, pragmas, rows and disk.
// Every write is synced (synchronous = FULL), so the rows that write measure the disk of the temporary
// directory too.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "vlox_common.h"

using namespace vloxlib;

namespace {

const std::string kPayload(200, 'p');

std::string idOf(long long number) { return "task-" + std::to_string(number); }

void check(int rc, int expected = SQLITE_OK) {
    if (rc != expected) {
        std::abort();  // a figure of failing calls would be worth nothing
    }
}

// A store's file with so many waiting tasks and one key, in a directory that goes with it.
class StoreFile {
public:
    explicit StoreFile(int tasks) {
        std::random_device random;
        m_dir = std::filesystem::temp_directory_path() / ("vlox_bench_" + std::to_string(random()));
        std::filesystem::create_directories(m_dir);
        Sqlite3Functions* const store = Sqlite3Functions::getSqliteInstance(dir().c_str(), "client");
        store->sqlite3_begin_transaction();
        for (int task = 0; task < tasks; ++task) {
            const auto priority = static_cast<TaskPriority>(task % 10);
            check(store->addTask(idOf(task), TASK_TYPE_FILE, QoS::qosRetryForever(), priority, kPayload));
        }
        check(store->setKeyAndValue("key", "value"));
        check(store->sqlite3_commit_transaction());
        Sqlite3Functions::releaseSqliteInstance(dir().c_str(), "client");
    }
    ~StoreFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;
    std::string dir() const { return m_dir.string(); }

private:
    std::filesystem::path m_dir;
};

class VloxSide {
public:
    explicit VloxSide(int tasks = 0)
        : m_file(tasks), m_store(Sqlite3Functions::getSqliteInstance(m_file.dir().c_str(), "client")) {}
    ~VloxSide() { Sqlite3Functions::releaseSqliteInstance(m_file.dir().c_str(), "client"); }
    VloxSide(const VloxSide&) = delete;
    VloxSide& operator=(const VloxSide&) = delete;

    Sqlite3Functions* operator->() const { return m_store; }
    // A module's front; it finds the store by the process's data directory.
    TaskDispatcher dispatcher() const {
        Context::getInstance()->setContext(CONTEXT_DATA_DIR, m_file.dir());
        return TaskDispatcher("client");
    }

private:
    StoreFile m_file;
    Sqlite3Functions* m_store;
};

// One statement, prepared once and reset after each use.
class Prepared {
public:
    Prepared(sqlite3* db, const char* sql) {
        check(sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr));
    }
    ~Prepared() { sqlite3_finalize(m_statement); }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    template <class... Values>
    Prepared& bind(const Values&... values) {
        int index = 0;
        (one(++index, values), ...);
        return *this;
    }
    void run() {
        check(sqlite3_step(m_statement), SQLITE_DONE);
        sqlite3_reset(m_statement);
    }
    void row() { check(sqlite3_step(m_statement), SQLITE_ROW); }
    void end() { sqlite3_reset(m_statement); }
    long long number(int column) { return sqlite3_column_int64(m_statement, column); }
    std::string text(int column) {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
    }

private:
    void one(int index, long long value) { check(sqlite3_bind_int64(m_statement, index, value)); }
    void one(int index, const std::string& value) {
        check(sqlite3_bind_text(m_statement, index, value.data(), static_cast<int>(value.size()),
                                SQLITE_STATIC));
    }
    sqlite3_stmt* m_statement = nullptr;
};

class BareSide {
public:
    explicit BareSide(int tasks = 0)
        : m_file(std::make_unique<StoreFile>(tasks)), m_db(open(m_file->dir())) {}
    explicit BareSide(const std::string& dir) : m_db(open(dir)) {}
    ~BareSide() {
        m_prepared.clear();
        sqlite3_close(m_db);
    }
    BareSide(const BareSide&) = delete;
    BareSide& operator=(const BareSide&) = delete;

    sqlite3* handle() const { return m_db; }
    Prepared& prepare(const char* sql) {
        return *m_prepared.emplace_back(std::make_unique<Prepared>(m_db, sql));
    }

private:
    static sqlite3* open(const std::string& dir) {
        const std::string path = dir + "/client.db";
        sqlite3* db = nullptr;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
        check(sqlite3_open_v2(path.c_str(), &db, flags, nullptr));
        for (const char* sql : {"PRAGMA synchronous = FULL;", "PRAGMA journal_mode = WAL;",
                                "PRAGMA locking_mode = EXCLUSIVE;", "BEGIN IMMEDIATE; COMMIT;"}) {
            check(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
        }
        return db;
    }

    std::unique_ptr<StoreFile> m_file;
    sqlite3* m_db;
    std::vector<std::unique_ptr<Prepared>> m_prepared;
};

template <class Work>
void timeEach(benchmark::State& state, Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

const char* const kAddTask =
    "INSERT INTO table_task (task_id,type,qos,qos_para,priority,task_data,status,create_time) "
    "VALUES (?,?,?,?,?,?,?,?);";
const char* const kAddResult =
    "INSERT INTO table_result (result_id,type,result_data,return_code,status) VALUES (?,?,?,?,?);";

// ---- writes of one row

void addTaskVlox(benchmark::State& state) {
    VloxSide side;
    long long number = 0;
    for (auto _ : state) {
        check(side->addTask(idOf(number++), TASK_TYPE_FILE, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT,
                            kPayload));
    }
}
BENCHMARK(addTaskVlox)->Name("Store/addTask/vlox")->UseRealTime();

void addTaskBare(benchmark::State& state) {
    BareSide side;
    Prepared& add = side.prepare(kAddTask);
    long long number = 0;
    for (auto _ : state) {
        const std::string id = idOf(number++);
        add.bind(id, 8, 1, 60, 1, kPayload, 0, static_cast<long long>(std::time(nullptr))).run();
    }
}
BENCHMARK(addTaskBare)->Name("Store/addTask/bare")->UseRealTime();

void sweepTaskVlox(benchmark::State& state) {
    VloxSide side;
    long long number = 0;
    for (auto _ : state) {
        const std::string id = idOf(number++);
        check(side->addTask(id, TASK_TYPE_FILE, QoS::qosRetryForever(), TASK_PRIORITY_DEFAULT, kPayload));
        timeEach(state, [&] { check(side->sweepTask(id, 0)); });
    }
}
BENCHMARK(sweepTaskVlox)->Name("Store/sweepTask/vlox")->UseManualTime();

void sweepTaskBare(benchmark::State& state) {
    BareSide side;
    Prepared& add = side.prepare(kAddTask);
    Prepared& get = side.prepare(
        "SELECT task_id,type,qos,qos_para,priority,task_data,status,create_time FROM table_task WHERE "
        "task_id=?;");
    Prepared& begin = side.prepare("BEGIN;");
    Prepared& addResult = side.prepare(kAddResult);
    Prepared& remove = side.prepare("DELETE FROM table_task WHERE task_id=?;");
    Prepared& commit = side.prepare("COMMIT;");
    long long number = 0;
    for (auto _ : state) {
        const std::string id = idOf(number++);
        add.bind(id, 8, 1, 60, 1, kPayload, 0, static_cast<long long>(std::time(nullptr))).run();
        timeEach(state, [&] {
            get.bind(id).row();
            const long long type = get.number(1);
            const std::string data = get.text(5);
            get.end();
            begin.run();
            addResult.bind(id, type, data, 0, 0).run();
            remove.bind(id).run();
            commit.run();
        });
    }
}
BENCHMARK(sweepTaskBare)->Name("Store/sweepTask/bare")->UseManualTime();

// ---- a batch

std::vector<BaseResult> batch(long long first) {
    std::vector<BaseResult> results;
    for (long long number = first; number < first + 1000; ++number) {
        results.emplace_back(idOf(number), RESULT_TYPE_FILE, kPayload, 0, RESULT_STATUS_STORED);
    }
    return results;
}

void addResultVlox(benchmark::State& state) {
    VloxSide side;
    long long number = 0;
    for (auto _ : state) {
        const std::vector<BaseResult> results = batch(number += 1000);
        timeEach(state, [&] { check(side->addResult(results, false)); });
    }
}
BENCHMARK(addResultVlox)->Name("Store/addResult of 1000/vlox")->UseManualTime();

void addResultBare(benchmark::State& state) {
    BareSide side;
    Prepared& begin = side.prepare("BEGIN;");
    Prepared& add = side.prepare(kAddResult);
    Prepared& commit = side.prepare("COMMIT;");
    long long number = 0;
    for (auto _ : state) {
        const std::vector<BaseResult> results = batch(number += 1000);
        timeEach(state, [&] {
            begin.run();
            for (const BaseResult& result : results) {
                add.bind(result.getResultId(), result.getType(), result.getData(), result.getReturnCode(),
                         result.getStatus())
                    .run();
            }
            commit.run();
        });
    }
}
BENCHMARK(addResultBare)->Name("Store/addResult of 1000/bare")->UseManualTime();

// ---- handing out one task of many; each goes back, untimed, before the next

template <class Side>
Side& filled(int tasks) {
    static std::map<int, std::unique_ptr<Side>> sides;  // 100,000 rows aren't made anew for each repetition
    std::unique_ptr<Side>& side = sides[tasks];
    if (side == nullptr) {
        side = std::make_unique<Side>(tasks);
    }
    return *side;
}

void getTaskVlox(benchmark::State& state, int tasks) {
    VloxSide& side = filled<VloxSide>(tasks);
    TaskDispatcher dispatcher = side.dispatcher();
    for (auto _ : state) {
        std::shared_ptr<BaseTask> task;
        timeEach(state, [&] { task = dispatcher.getTask(TASK_TYPE_FILE); });
        check(side->updateTaskStatus(task->getTaskId(), TASK_STATUS_WAITING));
    }
}

void getTaskBare(benchmark::State& state, int tasks) {
    BareSide& side = filled<BareSide>(tasks);
    Prepared& select = side.prepare(
        "SELECT task_id,type,qos,qos_para,priority,task_data,status,create_time FROM table_task "
        "WHERE type&?!=0 and status=? ORDER BY priority ASC,id ASC LIMIT ?;");
    Prepared& mark = side.prepare(
        "UPDATE table_task SET status=? WHERE task_id IN (SELECT task_id FROM table_task "
        "WHERE type&?!=0 and status=? ORDER BY priority ASC,id ASC LIMIT ?);");
    Prepared& restore = side.prepare("UPDATE table_task SET status=? WHERE task_id IN (?);");
    for (auto _ : state) {
        std::string id;
        std::string data;
        timeEach(state, [&] {
            select.bind(8, 0, 1).row();
            id = select.text(0);
            data = select.text(5);
            select.end();
            mark.bind(1, 8, 0, 1).run();
        });
        restore.bind(0, id).run();
    }
}

const bool registered = [] {
    for (const int tasks : {100, 1000, 10000, 100000}) {
        const std::string name = "Store/getTask of " + std::to_string(tasks);
        benchmark::RegisterBenchmark((name + "/vlox").c_str(), getTaskVlox, tasks)->UseManualTime();
        benchmark::RegisterBenchmark((name + "/bare").c_str(), getTaskBare, tasks)->UseManualTime();
    }
    return true;
}();

// ---- reads of one row

constexpr int kRows = 1000;

std::vector<std::string> someIds() {
    std::vector<std::string> ids;
    ids.reserve(kRows);
    for (int number = 0; number < kRows; ++number) {
        ids.push_back(idOf(number * 7 % kRows));
    }
    return ids;
}

void getTaskStatusVlox(benchmark::State& state) {
    VloxSide side(kRows);
    const std::vector<std::string> ids = someIds();
    std::size_t next = 0;
    TaskStatus status{};
    for (auto _ : state) {
        check(side->getTaskStatus(ids[next++ % ids.size()], status));
        benchmark::DoNotOptimize(status);
    }
}
BENCHMARK(getTaskStatusVlox)->Name("Store/getTaskStatus/vlox")->UseRealTime();

void getTaskStatusBare(benchmark::State& state) {
    BareSide side(kRows);
    Prepared& get = side.prepare("SELECT status FROM table_task WHERE task_id=?;");
    const std::vector<std::string> ids = someIds();
    std::size_t next = 0;
    for (auto _ : state) {
        get.bind(ids[next++ % ids.size()]).row();
        benchmark::DoNotOptimize(get.number(0));
        get.end();
    }
}
BENCHMARK(getTaskStatusBare)->Name("Store/getTaskStatus/bare")->UseRealTime();

void hasTaskVlox(benchmark::State& state) {
    VloxSide side(kRows);
    const std::vector<std::string> ids = someIds();
    std::size_t next = 0;
    for (auto _ : state) {
        check(side->hasTask(ids[next++ % ids.size()]), true);
    }
}
BENCHMARK(hasTaskVlox)->Name("Store/hasTask/vlox")->UseRealTime();

void hasTaskBare(benchmark::State& state) {
    BareSide side(kRows);
    Prepared& count = side.prepare("SELECT count(*) FROM table_task WHERE task_id=?;");
    const std::vector<std::string> ids = someIds();
    std::size_t next = 0;
    for (auto _ : state) {
        count.bind(ids[next++ % ids.size()]).row();
        check(count.number(0) > 0, true);
        count.end();
    }
}
BENCHMARK(hasTaskBare)->Name("Store/hasTask/bare")->UseRealTime();

void getValueByKeyVlox(benchmark::State& state) {
    VloxSide side;
    const std::string key = "key";
    std::string value;
    for (auto _ : state) {
        check(side->getValueByKey(key, value));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(getValueByKeyVlox)->Name("Store/getValueByKey/vlox")->UseRealTime();

void getValueByKeyBare(benchmark::State& state) {
    BareSide side;
    Prepared& get = side.prepare("SELECT value FROM table_key_value WHERE key=?;");
    const std::string key = "key";
    std::string value;
    for (auto _ : state) {
        get.bind(key).row();
        value = get.text(0);
        get.end();
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(getValueByKeyBare)->Name("Store/getValueByKey/bare")->UseRealTime();

// ---- messages

struct MessageBatch {
    explicit MessageBatch(long long number) {
        const std::string base = std::to_string(number) + "/";
        for (int message = 0; message < 100; ++message) {
            const std::string id = base + std::to_string(message);
            results.emplace_back(id, static_cast<ResultType>(16), kPayload, 0, RESULT_STATUS_STORED);
            ids.emplace(id, number);
        }
        for (int command = 0; command < 10; ++command) {
            commands.insert(
                std::make_shared<CMDInfoItem>(base + std::to_string(command), "message", 1, "from", "", ""));
        }
    }
    std::vector<BaseResult> results;
    CMDInfoItemSet commands;
    std::map<std::string, int64> ids;
};

void submitBatchVlox(benchmark::State& state) {
    VloxSide side;
    long long number = 0;
    for (auto _ : state) {
        MessageBatch batch(++number);
        timeEach(state, [&] {
            check(side->submitBatchMessage(0, batch.results, batch.commands, batch.ids, number, number));
        });
    }
}
BENCHMARK(submitBatchVlox)->Name("Store/submitBatchMessage/vlox")->UseManualTime();

void submitBatchBare(benchmark::State& state) {
    BareSide side;
    Prepared& begin = side.prepare("BEGIN;");
    Prepared& addResult = side.prepare(kAddResult);
    Prepared& addCommand = side.prepare(
        "insert or ignore into table_msg_cmd(cmdMessageId, messageId, status, fromVloxId, tos, groupid) "
        "values(?, ?, ?, ?, ?, ?)");
    Prepared& addId =
        side.prepare("insert into table_seqid_messageid(vloxid, msgid, timestamp) values(?, ?,?)");
    Prepared& retain = side.prepare("REPLACE INTO table_seqid (seqid, priority) VALUES(?, ?);");
    Prepared& commit = side.prepare("COMMIT;");
    long long number = 0;
    for (auto _ : state) {
        const MessageBatch batch(++number);
        timeEach(state, [&] {
            begin.run();
            for (const BaseResult& result : batch.results) {
                addResult.bind(result.getResultId(), result.getType(), result.getData(), 0, 0).run();
            }
            for (const auto& item : batch.commands) {
                addCommand
                    .bind(item->m_cmdMessageId, item->m_messageId, item->m_status, item->m_from, item->m_tos,
                          item->m_groupId)
                    .run();
            }
            for (const auto& [id, timestamp] : batch.ids) {
                addId.bind(0, id, timestamp).run();
            }
            retain.bind(number, 0).run();
            retain.bind(number, 1).run();
            commit.run();
        });
    }
}
BENCHMARK(submitBatchBare)->Name("Store/submitBatchMessage/bare")->UseManualTime();

// 500 received and 500 sent ids, every other one stored, over a million of each.
struct AskedIds {
    AskedIds() {
        for (int id = 0; id < 500; ++id) {
            const int number = id * 1999 + (id % 2 == 0 ? 0 : 1000000);
            received.emplace(idOf(number), id);
            sent.emplace(idOf(number), 500 + id);
        }
    }
    std::unordered_map<std::string, int> received;
    std::unordered_map<std::string, int> sent;
};

const char* const kMillionIds[] = {
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<999999) "
    "INSERT INTO table_seqid_messageid SELECT 0, 'task-' || i, 0 FROM n",
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<999999) "
    "INSERT INTO table_send_failed_msgs SELECT 'task-' || i FROM n",
};

// The directory of a file with a million ids of each kind, made once; both sides read it, one after the
// other.
const std::string& millionIds() {
    static const StoreFile file(0);
    static const std::string dir = [] {
        sqlite3* db = nullptr;
        check(sqlite3_open((file.dir() + "/client.db").c_str(), &db));
        for (const char* sql : kMillionIds) {
            check(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
        }
        check(sqlite3_close(db));
        return file.dir();
    }();
    return dir;
}

void batchCheckVlox(benchmark::State& state) {
    const std::string& dir = millionIds();
    Sqlite3Functions* const store = Sqlite3Functions::getSqliteInstance(dir.c_str(), "client");
    const AskedIds asked;
    for (auto _ : state) {
        std::vector<int> found(1000);
        check(store->batchCheckExist(asked.received, asked.sent, found));
        benchmark::DoNotOptimize(found);
    }
    Sqlite3Functions::releaseSqliteInstance(dir.c_str(), "client");
}
BENCHMARK(batchCheckVlox)->Name("Store/batchCheckExist/vlox")->UseRealTime();

void checkPlain(sqlite3* db, const char* head, const std::unordered_map<std::string, int>& ids,
                std::vector<int>& found) {
    std::string sql = std::string(head) + " in(?";
    for (std::size_t id = 1; id < ids.size(); ++id) {
        sql += ",?";
    }
    sql += ")";
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr));
    int index = 0;
    for (const auto& entry : ids) {
        sqlite3_bind_text(statement, ++index, entry.first.data(), static_cast<int>(entry.first.size()),
                          SQLITE_STATIC);
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const auto* id = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        found[static_cast<std::size_t>(ids.at(id))] = 1;
    }
    sqlite3_finalize(statement);
}

void batchCheckBare(benchmark::State& state) {
    BareSide side(millionIds());
    const AskedIds asked;
    for (auto _ : state) {
        std::vector<int> found(1000);
        check(sqlite3_exec(side.handle(), "BEGIN;", nullptr, nullptr, nullptr));
        checkPlain(side.handle(), "select msgid from table_seqid_messageid where msgid", asked.received,
                   found);
        checkPlain(side.handle(), "select msgid from table_send_failed_msgs where msgid", asked.sent, found);
        check(sqlite3_exec(side.handle(), "COMMIT;", nullptr, nullptr, nullptr));
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(batchCheckBare)->Name("Store/batchCheckExist/bare")->UseRealTime();

}  // namespace
