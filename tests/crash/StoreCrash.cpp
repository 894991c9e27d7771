#include "crash/StoreCrash.h"

#include <set>
#include <sstream>

#include "support/StoreFixture.h"

namespace vlox_test {

namespace {

constexpr int kOldRows = 100;

std::string text(unsigned place) { return std::to_string(place); }

}  // namespace

StoreCrash::StoreCrash(const std::string& directory, unsigned seed) : CrashRun("store", directory, seed) {}

void StoreCrash::killOnce() {
    // The first life gets as far as making the tables: there is nothing to look at in a file without them.
    const std::size_t atLeast = kills() == 0 ? 1 : 0;
    for (const std::string& line : liveAndDie(directory(), generation(), atLeast + random() % 80)) {
        learn(line);
    }
    const std::map<std::string, unsigned> found = look();
    compareMessages(found);
    compare(found);
}

void StoreCrash::learn(const std::string& line) {
    std::istringstream words(line);
    std::string phase;
    std::string operation;
    words >> phase >> operation;
    if (operation == "open") {
        return;
    }
    const bool done = phase == "ok";
    if (done) {
        countOperation();
    }
    m_batch.clear();
    for (std::string id; words >> id;) {
        m_batch.push_back(id);
        if (operation == "add") {
            move(id, Nowhere, Task, done);
        } else if (operation == "addFile") {
            move(id, Nowhere, FileTask, done);
        } else if (operation == "addResults" || operation == "submit") {
            move(id, Nowhere, Result, done);
            if (operation == "submit") {
                m_messages[id] = done;
            }
        } else if (operation == "sweep") {
            const bool isFile = (m_places[id] & (FileTask | FileResult)) != 0;
            move(id, isFile ? FileTask : Task, isFile ? FileResult : Result, done);
        } else if (operation == "deliver") {
            move(id, Result, Nowhere, done);
        }
    }
    if (done) {
        m_batch.clear();
    }
}

void StoreCrash::move(const std::string& id, unsigned from, unsigned to, bool done) {
    unsigned& places = m_places.try_emplace(id, Nowhere).first->second;
    if (done) {
        places = to;
    } else if (places == from) {
        places = from | to;
    } else {
        lose(id + ": handed out for a move from " + text(from) + ", but it is in " + text(places));
    }
}

std::map<std::string, unsigned> StoreCrash::look() {
    const RawDatabase file(directory() + "/crash.db");
    if (file.values("PRAGMA integrity_check") != std::vector<std::string>{"ok"}) {
        lose("integrity_check finds faults");
    }
    if (file.values("SELECT file_task_id FROM table_fileTaskInfo ORDER BY 1") !=
        file.values("SELECT task_id FROM table_task WHERE type=8 ORDER BY 1")) {
        lose("the digests are not those of the file tasks");
    }
    std::map<std::string, unsigned> found;
    const auto note = [&](const char* sql, unsigned plain, unsigned ofFile) {
        const std::vector<std::string> idsAndTypes = file.values(sql);
        for (std::size_t i = 0; i < idsAndTypes.size(); i += 2) {
            const unsigned place = idsAndTypes[i + 1] == "8" ? ofFile : plain;
            if (!found.emplace(idsAndTypes[i], place).second) {
                lose(idsAndTypes[i] + ": stands in two places");
            }
        }
    };
    note("SELECT task_id,type FROM table_task", Task, FileTask);
    note("SELECT result_id,type FROM table_result", Result, FileResult);
    return found;
}

void StoreCrash::compare(const std::map<std::string, unsigned>& found) {
    const auto placeOf = [&](const std::string& id) {
        const auto at = found.find(id);
        return at == found.end() ? static_cast<unsigned>(Nowhere) : at->second;
    };
    for (const std::string& id : m_batch) {
        if (placeOf(id) != placeOf(m_batch.front())) {
            lose(id + ": half of a batch");
        }
    }
    for (auto& [id, allowed] : m_places) {
        const unsigned place = placeOf(id);
        if ((place & allowed) == 0) {
            lose(id + ": is in " + text(place) + " and may be in " + text(allowed));
        }
        allowed = place;
    }
    for (const auto& [id, place] : found) {
        if (m_places.count(id) == 0) {
            lose(id + ": nobody stored it, it is in " + text(place));
        }
    }
}

// A message's id and its command stay for good; its result was there when they came.
void StoreCrash::compareMessages(const std::map<std::string, unsigned>& found) {
    const RawDatabase file(directory() + "/crash.db");
    const auto setOf = [&](const char* sql) {
        const std::vector<std::string> ids = file.values(sql);
        return std::set<std::string>(ids.begin(), ids.end());
    };
    const std::set<std::string> ids = setOf("SELECT msgid FROM table_seqid_messageid");
    if (ids != setOf("SELECT messageId FROM table_msg_cmd")) {
        lose("the messages' ids are not those of their commands");
    }
    for (auto& [id, acknowledged] : m_messages) {
        const bool stored = ids.count(id) == 1;
        if (acknowledged ? !stored : stored != (found.count(id) == 1)) {
            lose(id + ": half of a batch of messages");
        }
    }
    m_messages.clear();
    for (const std::string& id : ids) {
        m_messages.emplace(id, true);
        if (m_places.count(id) == 0) {
            lose(id + ": nobody submitted this message");
        }
    }
}

void StoreCrash::killMigration(const std::string& oldDirectory) {
    {
        const RawDatabase file(oldDirectory + "/crash.db");
        file.run(
            "CREATE TABLE table_task('id' INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
            "'task_id' TEXT NOT NULL UNIQUE,'type' INTEGER NOT NULL,'qos' INTEGER NOT NULL,"
            "'qos_para' INTEGER NOT NULL,"
            "'priority' INTEGER NOT NULL,'task_data' TEXT NOT NULL,'status' INTEGER NOT NULL,"
            "'create_time' INTEGER DEFAULT (strftime('%s', 'now')))");
        file.run("BEGIN");
        for (int row = 0; row < kOldRows; ++row) {
            file.run("INSERT INTO table_task(task_id,type,qos,qos_para,priority,task_data,status) VALUES('f" +
                     std::to_string(row) +
                     "',8,1,60,1,'{\"httpResquestType\":53,\"httpResquestData\":\"{}\"}',0)");
        }
        file.run("COMMIT");
    }
    liveAndDie(oldDirectory, "idle", random() % 2);
    const RawDatabase file(oldDirectory + "/crash.db");
    const std::string rewritten =
        file.values("SELECT count(*) FROM table_task WHERE task_data LIKE '%CloudDiskFileTag%'").front();
    if (rewritten != "0" && rewritten != std::to_string(kOldRows)) {
        lose("migration: " + rewritten + " rows of " + std::to_string(kOldRows) + " are rewritten");
    }
    const bool marked =
        file.values("SELECT name FROM sqlite_master WHERE name='table_key_value'").size() == 1 &&
        file.values("SELECT value FROM table_key_value WHERE key='custom_version'").size() == 1;
    if (marked && rewritten == "0") {
        lose("migration: marked as done, but nothing is rewritten");
    }
}

}  // namespace vlox_test
