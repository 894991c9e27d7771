#ifndef FILES_FILERESULTS_H
#define FILES_FILERESULTS_H

#include <vloxlib/task/ResultDispatcher.h>

#include <string>

#include "Files.h"

namespace files {

/// The thread that hands results to the application and removes those that it has taken.
class FileResults : public vloxlib::ResultDispatcher {
public:
    FileResults(const std::string& storeName, FilesListener listener, void* context);

    /// From task to result, in one transaction that also frees the file's digest.
    void close(const std::string& taskId, int code, const std::string& data);

private:
    void run() override;
    bool deliver(const std::vector<vloxlib::BaseResult>& results);

    const FilesListener m_listener;
    void* const m_context;
};

}  // namespace files

#endif
