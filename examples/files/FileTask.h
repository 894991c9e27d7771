#ifndef FILES_FILETASK_H
#define FILES_FILETASK_H

#include <vloxlib/Types.h>

#include <optional>
#include <string>

namespace files {

using vloxlib::int64;

/// One file on its way, as it stands in the store.
struct FileTask {
    /// The numbers are those of the store's file format.
    enum Direction { SEND = 50, FETCH = 52 };

    std::string id;
    Direction direction = SEND;
    std::string path;  ///< of the local file
    int64 size = 0;
    std::string digest;   ///< MD5 of the content
    int64 modified = 0;   ///< a file to send: when it was last changed
    int64 chunkSize = 0;  ///< a file to send: bytes of a slice, the same for the task's whole life
    std::string url;      ///< a file to fetch: the platform's name for it
};

/// The payload of the task's row.
std::string toPayload(const FileTask& task);
/// Nothing: the payload isn't one of this module.
std::optional<FileTask> fromPayload(const std::string& id, const std::string& payload);

/// The same file, and the same wish, has the same id in every run.
std::string idOf(const FileTask& task);

/// Size and time of the file at the task's path. False: there is no such file.
bool readFacts(FileTask& task);

/// The text of a result.
std::string describe(const FileTask& task);

}  // namespace files

#endif
