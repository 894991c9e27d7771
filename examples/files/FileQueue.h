#ifndef FILES_FILEQUEUE_H
#define FILES_FILEQUEUE_H

#include <vloxlib/database/Sqlite3Functions.h>
#include <vloxlib/task/TaskDispatcher.h>

#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "FileTask.h"

namespace files {

/// The module's tasks in its store, which outlive the process. Threads: any.
class FileQueue {
public:
    explicit FileQueue(const std::string& storeName);
    FileQueue(const FileQueue&) = delete;
    FileQueue& operator=(const FileQueue&) = delete;

    struct LeftBehind {
        int tasks = 0;
        int results = 0;
    };
    /// What was being worked on when an earlier process ended waits again. To be called once, before anyone
    /// fetches.
    LeftBehind repair();
    /// False: the id was noted before.
    bool noteId(const std::string& id);

    enum Outcome { STORED, SAME_CONTENT, REFUSED };
    Outcome store(const FileTask& task);
    std::optional<FileTask> next();

    static std::string dataDirectory();

private:
    vloxlib::Sqlite3Functions& m_store;
    vloxlib::TaskDispatcher m_tasks;
    std::mutex m_mutex;
    std::set<std::string> m_known;  // guarded by m_mutex
};

}  // namespace files

#endif
