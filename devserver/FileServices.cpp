#include "FileServices.h"

#include <Poco/MD5Engine.h>
#include <Poco/NumberParser.h>
#include <Poco/String.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "WireError.h"

namespace devserver {

/// One request and all that its service needs.
struct FileServices::Call {
    const HttpRequest& request;
    const rapidjson::Value& params;
    FileRequest& arrived;
    const Misbehaviour& rule;
    HttpReply& answer;
};

struct FileServices::Received {
    std::uint64_t size = 0;
    std::string digest;
};

namespace {

constexpr std::size_t kPiece = 65536;
constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

std::string textOf(const rapidjson::Value& params, const char* name) {
    const auto member = params.FindMember(name);
    if (member == params.MemberEnd()) {
        return {};
    }
    const rapidjson::Value& value = member->value;
    return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : toText(value);
}

std::string needText(const rapidjson::Value& params, const char* name) {
    std::string text = textOf(params, name);
    if (text.empty()) {
        throw WireError(kWireBadRequest, std::string("no field ") + name);
    }
    return text;
}

std::uint64_t needNumber(const rapidjson::Value& params, const char* name) {
    Poco::UInt64 number = 0;
    if (!Poco::NumberParser::tryParseUnsigned64(needText(params, name), number) || number >> 62 != 0) {
        throw WireError(kWireBadRequest, std::string(name) + " is no number of bytes");
    }
    return number;
}

void checkDigest(const rapidjson::Value& params, const std::string& digest) {
    const std::string announced = textOf(params, "digest");
    if (!announced.empty() && Poco::icompare(announced, digest) != 0) {
        throw WireError(kWireOtherDigest, "the content's digest is " + digest);
    }
}

std::string describe(const FileStore::File& file) {
    rapidjson::Document document(rapidjson::kObjectType);
    addText(document, "fileUrl", file.id);
    addText(document, "fileName", file.name);
    addNumber(document, "fileSize", static_cast<long long>(file.size));
    addText(document, "digest", file.digest);
    return toText(document);
}

// Holds a transfer to the rule's rate, and ends it with the server.
class Pace {
public:
    Pace(const Misbehaviour& rule, StopSignal& stop)
        : m_rate(rule.rate.value_or(0)),
          m_piece(m_rate == 0 ? kPiece : std::clamp<std::size_t>(m_rate / 20, 1, kPiece)),
          m_stop(stop) {}
    /// How many bytes should move at a time.
    std::size_t piece() const { return m_piece; }
    /// Waits as long as so many bytes are due. False: the transfer is to end.
    bool moved(std::size_t bytes) {
        m_moved += bytes;
        if (m_rate != 0) {
            const std::chrono::duration<double> due(static_cast<double>(m_moved) /
                                                    static_cast<double>(m_rate));
            m_stop.wait(std::chrono::duration_cast<std::chrono::steady_clock::duration>(due) -
                        (std::chrono::steady_clock::now() - m_begin));
        }
        return !m_stop.stopped();
    }

private:
    const std::uint64_t m_rate;
    const std::size_t m_piece;
    StopSignal& m_stop;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::uint64_t m_moved = 0;
};

struct Range {
    std::uint64_t from = 0;
    std::uint64_t end = 0;  ///< the first byte behind
    bool partial = false;   ///< it was asked for
};

std::string headerOf(const HttpRequest& request, const char* wanted) {
    std::string text;
    for (const auto& [name, value] : request.headers) {
        text = Poco::icompare(name, wanted) == 0 ? value : text;
    }
    return text;
}

// Only one range of bytes is understood; others are passed over, as they may be, and so is one of another
// version. A range that ends where it begins, or before: the file has nothing of it.
Range rangeOf(const HttpRequest& request, std::uint64_t size, const std::string& tag) {
    const std::string text = headerOf(request, "Range");
    const std::string version = headerOf(request, "If-Range");
    const Range whole{0, size, false};
    const std::size_t dash = text.find('-');
    if (text.rfind("bytes=", 0) != 0 || dash == std::string::npos || size == 0 ||
        (!version.empty() && version != tag)) {
        return whole;
    }
    const std::string first = text.substr(6, dash - 6);
    const std::string last = text.substr(dash + 1);
    Poco::UInt64 from = 0;
    Poco::UInt64 to = size - 1;
    const bool good = (first.empty() || Poco::NumberParser::tryParseUnsigned64(first, from)) &&
                      ((last.empty() && !first.empty()) || Poco::NumberParser::tryParseUnsigned64(last, to));
    if (!good || (!first.empty() && to < from && !last.empty())) {
        return whole;
    }
    if (first.empty()) {  // so many bytes at the end
        return {size - std::min<std::uint64_t>(to, size), size, true};
    }
    return {from, std::min<std::uint64_t>(to, size - 1) + 1, true};
}

StreamedBody fileBody(const std::filesystem::path& path, const Range& range, const Misbehaviour& rule,
                      StopSignal& stop) {
    const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
    file->seekg(static_cast<std::streamoff>(range.from));
    const auto pace = std::make_shared<Pace>(rule, stop);
    std::uint64_t at = range.from;
    return {range.end - range.from, [=](char* buffer, std::size_t room) mutable -> std::size_t {
                file->read(buffer, static_cast<std::streamsize>(std::min(room, pace->piece())));
                const auto got = static_cast<std::size_t>(file->gcount());
                if (rule.flip && *rule.flip >= at && *rule.flip - at < got) {
                    buffer[*rule.flip - at] = static_cast<char>(~buffer[*rule.flip - at]);
                }
                at += got;
                return pace->moved(got) ? got : 0;
            }};
}

StreamedBody zeros(std::uint64_t length, const Misbehaviour& rule, StopSignal& stop) {
    const auto pace = std::make_shared<Pace>(rule, stop);
    return {length, [=](char* buffer, std::size_t room) {
                const std::size_t got = std::min(room, pace->piece());
                std::fill_n(buffer, got, '\0');
                return pace->moved(got) ? got : 0;
            }};
}

}  // namespace

FileServices::Service FileServices::find(const std::string& path) {
    static const std::pair<const char*, Service> services[] = {
        {"file/chunk/delete", &FileServices::deleteChunks}, {"file/chunk/merge", &FileServices::mergeChunks},
        {"file/chunk/query", &FileServices::queryChunks},   {"file/chunk/upload", &FileServices::uploadChunk},
        {"file/download", &FileServices::download},         {"file/upload", &FileServices::upload},
    };
    for (const auto& [known, service] : services) {
        if (path == known) {
            return service;
        }
    }
    return nullptr;
}

bool FileServices::knows(const std::string& path) { return find(path) != nullptr; }

std::string FileServices::answer(const std::string& path, const HttpRequest& request,
                                 const rapidjson::Value& params, FileRequest& arrived,
                                 const Misbehaviour& rule, HttpReply& answer) const {
    try {
        return (this->*find(path))({request, params, arrived, rule, answer});
    } catch (const std::filesystem::filesystem_error& error) {
        throw WireError(kWireNoRoom, error.code().message());
    }
}

FileServices::Received FileServices::receive(const Call& call, std::ostream* sink, std::uint64_t most) const {
    if (!call.arrived.hasFile()) {
        throw WireError(kWireBadRequest, "the request brings no file behind its fields");
    }
    Pace pace(call.rule, m_stop);
    Poco::MD5Engine digest;
    Received received;
    std::vector<char> piece(pace.piece());
    while (const std::size_t got = call.arrived.read(piece.data(), piece.size())) {
        received.size += got;
        if (call.rule.hangup.value_or(kUnlimited) <= received.size || !pace.moved(got)) {
            throw HangUp();
        }
        if (received.size > most) {
            throw WireError(kWireBadRequest, "the file is longer than was announced");
        }
        digest.update(piece.data(), got);
        if (sink != nullptr && !sink->write(piece.data(), static_cast<std::streamsize>(got))) {
            break;
        }
    }
    if (sink != nullptr && !sink->flush()) {
        throw WireError(kWireNoRoom, "the platform can't write to its disk");
    }
    received.digest = Poco::DigestEngine::digestToHex(digest.digest());
    checkDigest(call.params, received.digest);
    return received;
}

std::string FileServices::upload(const Call& call) const {
    FileStore::File file;
    file.name = textOf(call.params, "fileName");
    file.name = file.name.empty() ? call.arrived.fileName() : file.name;
    FileStore::Draft draft = m_store.newDraft();
    const Received received = receive(call, call.rule.discard ? nullptr : &draft.stream(), kUnlimited);
    file.size = received.size;
    file.digest = received.digest;
    if (!call.rule.discard) {
        m_store.take(draft, file);
    }
    return describe(file);
}

std::string FileServices::download(const Call& call) const {
    HttpReply& answer = call.answer;
    if (call.rule.zeros) {
        answer.contentType = "application/octet-stream";
        answer.stream = zeros(*call.rule.zeros, call.rule, m_stop);
        return {};
    }
    const FileStore::File file = m_store.find(needText(call.params, "fileUrl"));
    const std::string size = std::to_string(file.size);
    const std::string tag = '"' + file.digest + '"';
    const Range range =
        call.rule.norange ? Range{0, file.size, false} : rangeOf(call.request, file.size, tag);
    answer.contentType = "application/octet-stream";
    answer.headers.emplace_back("ETag", tag);
    if (range.partial && range.from >= range.end) {
        answer.status = 416;
        answer.headers.emplace_back("Content-Range", "bytes */" + size);
        answer.stream = StreamedBody{0, {}};
        return {};
    }
    if (range.partial) {
        answer.status = 206;
        answer.headers.emplace_back("Content-Range", "bytes " + std::to_string(range.from) + "-" +
                                                         std::to_string(range.end - 1) + "/" + size);
    }
    answer.stream = fileBody(m_store.content(file), range, call.rule, m_stop);
    return {};
}

std::string FileServices::uploadChunk(const Call& call) const {
    const std::string uuid = needText(call.params, "fileUUID");
    FileStore::Chunk chunk;
    chunk.left = needNumber(call.params, "chunkOffserL");
    chunk.right = needNumber(call.params, "chunkOffserR");
    if (chunk.right < chunk.left) {
        throw WireError(kWireBadRequest, "chunkOffserR lies before chunkOffserL");
    }
    const std::uint64_t length = chunk.right - chunk.left;
    std::fstream data;
    if (!call.rule.discard) {
        data = m_store.openChunk(uuid, chunk);
    }
    const Received received = receive(call, call.rule.discard ? nullptr : &data, length);
    if (received.size != length) {
        throw WireError(kWireBadRequest, "the chunk is shorter than was announced");
    }
    chunk.digest = received.digest;
    if (!call.rule.discard) {
        m_store.keepChunk(uuid, chunk);
    }
    rapidjson::Document document(rapidjson::kObjectType);
    addText(document, "fileUUID", uuid);
    addText(document, "chunkSeq", textOf(call.params, "chunkSeq"));
    addNumber(document, "chunkLength", static_cast<long long>(length));
    addText(document, "digest", chunk.digest);
    return toText(document);
}

std::string FileServices::queryChunks(const Call& call) const {
    const std::string uuid = needText(call.params, "fileUUID");
    rapidjson::Document document(rapidjson::kObjectType);
    auto& allocator = document.GetAllocator();
    addText(document, "fileUUID", uuid);
    addText(document, "fileUrl", m_store.mergedInto(uuid));
    rapidjson::Value list(rapidjson::kArrayType);
    for (const FileStore::Chunk& chunk : m_store.chunks(uuid)) {
        rapidjson::Document entry(rapidjson::kObjectType, &allocator);
        addNumber(entry, "chunkOffserL", static_cast<long long>(chunk.left));
        addNumber(entry, "chunkOffserR", static_cast<long long>(chunk.right));
        addText(entry, "digest", chunk.digest);
        list.PushBack(entry, allocator);
    }
    addNumber(document, "chunkCount", list.Size());
    document.AddMember("chunkInfoList", list, allocator);
    return toText(document);
}

std::string FileServices::mergeChunks(const Call& call) const {
    const std::string uuid = needText(call.params, "fileUUID");
    const std::string merged = m_store.mergedInto(uuid);
    FileStore::File file;
    if (!merged.empty()) {
        file = m_store.find(merged);
        checkDigest(call.params, file.digest);
        return describe(file);
    }
    file.name = textOf(call.params, "fileName");
    file.size = needNumber(call.params, "fileSize");
    file.digest = Poco::toLower(textOf(call.params, "digest"));
    m_store.merge(uuid, file);
    return describe(file);
}

std::string FileServices::deleteChunks(const Call& call) const {
    m_store.forgetChunks(needText(call.params, "fileUUID"));
    return "{}";
}

}  // namespace devserver
