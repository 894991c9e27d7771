#ifndef FILES_DOWNLOAD_H
#define FILES_DOWNLOAD_H

#include "FileService.h"
#include "FileTask.h"
#include "Outcome.h"
#include "Progress.h"
#include "Transfers.h"

namespace files {

/// One attempt to fetch a file: goes on behind what stands in the partial file, whoever has left it there,
/// compares the digest of the whole and puts it in its place.
class Download {
public:
    Download(const FileTask& task, const FileService& service, Transfers& transfers, Progress::Tell tell);

    Outcome run();

private:
    Outcome fetch();
    Outcome judgeFetch(const FileService::Reply& reply) const;
    Outcome compare();
    int64 partialSize() const;
    Outcome startAnew() const;

    const FileTask& m_task;
    const FileService& m_service;
    Transfers& m_transfers;
    const Progress::Tell m_tell;
    const std::string m_partial;
};

}  // namespace files

#endif
