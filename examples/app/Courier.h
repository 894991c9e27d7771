#ifndef APP_COURIER_H
#define APP_COURIER_H

#include <rapidjson/document.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <ostream>
#include <string>

#include "Client.h"
#include "Journal.h"
#include "Options.h"
#include "Progress.h"

namespace app {

/// Sends a file to the platform, brings it back, and says what that took.
class Courier {
public:
    Courier(const Options& options, Journal& journal);

    /// Throws std::runtime_error for what another run won't mend by itself.
    /// @param interrupted ends the run early when it becomes true
    /// @return whether all is done
    bool run(const std::atomic<bool>& interrupted);

    void printTable(std::ostream& out) const;
    void writeSummary() const;

private:
    /// A file's way in one direction, as far as this run has seen it.
    struct Way {
        std::string id;
        bool asked = false;
        long long total = 0;
        long long first = -1;  ///< bytes that an earlier run had moved; -1: none has moved yet
        long long done = 0;
        std::chrono::steady_clock::time_point begin;
        std::chrono::steady_clock::time_point end;
    };

    static bool listen(void* self, int event, const char* json);
    bool onEvent(int event, const rapidjson::Document& told);
    bool onResult(const rapidjson::Document& told);
    void onProgress(const rapidjson::Document& told);
    void onRetry(const rapidjson::Document& told);

    void start(const Client& client);
    /// Gives the module a command and waits for its result. Null: interrupted.
    rapidjson::Document carry(const Client& client, int command, const std::string& request, Way& way,
                              const std::atomic<bool>& interrupted);
    std::string copyPath() const;

    // with m_mutex held
    void showState();
    std::string bar() const;
    static void printWay(std::ostream& out, const char* name, const Way& way);

    const Options m_options;
    Journal& m_journal;
    Progress m_progress;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // guarded by m_mutex
    Way m_up;
    Way m_down;
    Way* m_way = nullptr;  // the one of the two that is gone now
    std::string m_phase;
    long long m_phaseDone = 0;
    long long m_phaseTotal = 0;
    std::string m_said;                             // a line that waits to be shown
    std::string m_giveUp;                           // why this run can't go on
    std::map<std::string, std::string> m_failures;  // results of this run that are none, by their ids
    std::string m_digest;
};

}  // namespace app

#endif
