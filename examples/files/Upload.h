#ifndef FILES_UPLOAD_H
#define FILES_UPLOAD_H

#include <mutex>
#include <vector>

#include "FileService.h"
#include "FileTask.h"
#include "Outcome.h"
#include "Progress.h"
#include "Transfers.h"

namespace files {

/// One attempt to send a file: asks the platform which slices it has, sends the others, several at a time,
/// and has them made into one. What an attempt has brought over stays there for the next, in this process or
/// in another.
class Upload {
public:
    Upload(FileTask& task, const FileService& service, Transfers& transfers, int parallel,
           Progress::Tell tell);

    Outcome run();

private:
    struct Slice {
        int64 sequence;
        int64 left;
        int64 right;
    };

    bool isUnchanged() const;
    /// Sets m_missing; the task's url too, where the platform has the whole file already.
    Outcome query();
    Outcome sendMissing();
    void sendInTurn(Progress& progress);
    Outcome send(const Slice& slice, Progress& progress);
    Outcome merge();

    FileTask& m_task;
    const FileService& m_service;
    Transfers& m_transfers;
    const int m_parallel;
    const Progress::Tell m_tell;
    const std::string m_uuid;
    std::vector<Slice> m_missing;

    std::mutex m_mutex;
    // guarded by m_mutex
    std::size_t m_next = 0;
    Outcome m_outcome;  // the first that isn't good ends the attempt
};

}  // namespace files

#endif
