#ifndef FILES_FILEWORKER_H
#define FILES_FILEWORKER_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "FileQueue.h"
#include "FileResults.h"
#include "FileService.h"
#include "FileTask.h"
#include "Files.h"
#include "Outcome.h"
#include "Progress.h"
#include "Transfers.h"

namespace files {

/// The thread that works on the files, one after the other, until each has a result.
class FileWorker {
public:
    FileWorker(__int64 clientId, FileQueue& queue, FileResults& results, int parallel, int64 chunkSize,
               FilesListener listener, void* context);
    ~FileWorker();  ///< Ends the transfers under way; what they have moved stays moved.
    FileWorker(const FileWorker&) = delete;
    FileWorker& operator=(const FileWorker&) = delete;

    void start();
    /// A task that isn't in the store yet: a file to send needs its digest first, which takes a while.
    void add(const FileTask& wish);

private:
    void work();
    void store(FileTask wish);
    void workOn(FileTask& task);
    Outcome attempt(FileTask& task);
    std::optional<FileTask> nextWish();
    void tellProgress(const std::string& id, const std::string& phase, int64 done, int64 total);
    void refuse(const std::string& id, const std::string& why);
    bool tell(int event, const std::string& json) { return m_listener(m_context, event, json.c_str()); }

    FileQueue& m_queue;
    FileResults& m_results;
    FileService m_service;
    const int m_parallel;
    const int64 m_chunkSize;
    const FilesListener m_listener;
    void* const m_context;

    Transfers m_transfers;
    std::atomic<int64> m_furthest{0};  // bytes of the task that have been moved at any time
    std::mutex m_mutex;
    std::condition_variable m_condition;
    // guarded by m_mutex
    bool m_stopping = false;
    std::deque<FileTask> m_wishes;
    std::thread m_thread;
};

}  // namespace files

#endif
