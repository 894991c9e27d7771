#ifndef APP_MESSENGER_H
#define APP_MESSENGER_H

#include <messages/Messages.h>
#include <rapidjson/document.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Client.h"
#include "Journal.h"
#include "Options.h"
#include "Progress.h"

namespace app {

/// What one run did.
struct Figures {
    long long stored = 0;
    long long leftBehind = 0;  ///< tasks and results of earlier runs that were still waiting
    long long interrupted = 0;
    long long known = 0;
    long long refused = 0;
    long long skipped = 0;
    long long delivered = 0;  ///< for the first time
    long long twice = 0;
    std::map<int, long long> failedResults;
    std::string report;  ///< the module's
};

/// Sends every line of a file and takes the results.
class Messenger {
public:
    Messenger(const Options& options, Journal& journal);

    /// @param interrupted ends the run early when it becomes true
    /// @return whether all is done
    bool run(const std::atomic<bool>& interrupted);

    const Figures& figures() const { return m_figures; }

private:
    static bool listen(void* self, int event, const char* json);
    bool onEvent(int event, const rapidjson::Document& told);
    bool onResult(const rapidjson::Document& told);

    void start(const Client& client);
    /// @return whether it came to the end of the file
    bool sendLines(const Client& client, const std::atomic<bool>& interrupted);
    void sendLine(const Client& client, int number, const std::string& line);
    /// Until at most so many results are outstanding.
    void await(long long outstanding, const std::atomic<bool>& interrupted);
    // with m_mutex held
    void sayWhatIsNew();
    long long outstanding() const;
    std::string state() const;

    const Options m_options;
    Journal& m_journal;
    Progress m_progress;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // guarded by m_mutex
    Figures m_figures;
    long long m_retries = 0;
    int m_lastFailure = 0;
    std::vector<std::string> m_said;  // lines that wait to be shown
};

}  // namespace app

#endif
