#ifndef DEVSERVER_FILESERVICES_H
#define DEVSERVER_FILESERVICES_H

#include <string>

#include "FileRequest.h"
#include "FileStore.h"
#include "Http.h"
#include "Json.h"
#include "Misbehaviour.h"
#include "StopSignal.h"

namespace devserver {

/// A request that gets no reply, as its rule wants it.
struct HangUp {};

/// What the platform does with files: whole uploads and downloads, and uploads in chunks. Files pass through
/// piece by piece.
/// Threads: any.
class FileServices {
public:
    /// @param directory where files are kept; empty: a temporary one
    /// @param stop      borrowed; ends transfers
    FileServices(const std::string& directory, StopSignal& stop) : m_store(directory), m_stop(stop) {}

    /// Whether the path is one of a service here.
    static bool knows(const std::string& path);

    /// The data of a reply that succeeds; a download goes into the answer instead. Throws WireError and
    /// HangUp.
    /// @param params what the fields of the request say
    std::string answer(const std::string& path, const HttpRequest& request, const rapidjson::Value& params,
                       FileRequest& arrived, const Misbehaviour& rule, HttpReply& answer) const;

private:
    struct Call;
    using Service = std::string (FileServices::*)(const Call&) const;
    static Service find(const std::string& path);

    std::string upload(const Call& call) const;
    std::string download(const Call& call) const;
    std::string uploadChunk(const Call& call) const;
    std::string queryChunks(const Call& call) const;
    std::string mergeChunks(const Call& call) const;
    std::string deleteChunks(const Call& call) const;

    struct Received;
    Received receive(const Call& call, std::ostream* sink, std::uint64_t most) const;

    const FileStore m_store;
    StopSignal& m_stop;
};

}  // namespace devserver

#endif
