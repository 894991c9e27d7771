#ifndef MESSAGES_MESSAGEQUEUE_H
#define MESSAGES_MESSAGEQUEUE_H

#include <rapidjson/document.h>
#include <vloxlib/database/Sqlite3Functions.h>
#include <vloxlib/task/TaskDispatcher.h>

#include <map>
#include <set>
#include <string>

namespace messages {

/// The module's kinds of task, as one mask. Bits below 16 have a meaning of their own in the store.
constexpr int kMessageTypes = 16 | 32 | 64 | 128;

/// Storing side of the queue: from the application's JSON to a task. Used from one thread.
class MessageQueue {
public:
    explicit MessageQueue(const std::string& storeName);

    struct LeftBehind {
        int tasks = 0;
        int results = 0;
        int interrupted = 0;
    };
    /// Puts in order what an earlier run left: what must not outlive its process becomes a result, what was
    /// being worked on waits again. To be called once, before anyone fetches.
    LeftBehind repair();
    /// Another message of this content and count was stored before.
    void markKnown(const std::string& id) { m_known.insert(id); }

    enum Outcome { STORED, KNOWN, REFUSED };
    /// @param id is set to the message's id: the same content, the n-th time, has the same id in every run
    Outcome store(int line, const rapidjson::Value& message, std::string& id);

    const std::string& storePath() const { return m_path; }

private:
    std::string nextId(const std::string& content);

    const std::string m_path;
    vloxlib::Sqlite3Functions& m_store;
    vloxlib::TaskDispatcher m_tasks;
    std::set<std::string> m_known;
    std::map<std::string, int> m_seen;  // how often a content has come in this run
};

}  // namespace messages

#endif
