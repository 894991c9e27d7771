#include "FileStore.h"

#include <Poco/DigestStream.h>
#include <Poco/MD5Engine.h>
#include <Poco/StreamCopier.h>
#include <Poco/TemporaryFile.h>
#include <Poco/UUIDGenerator.h>

#include <algorithm>
#include <sstream>

#include "Json.h"
#include "WireError.h"

namespace devserver {
namespace {

namespace fs = std::filesystem;

constexpr char kData[] = "data";
constexpr char kMerged[] = "merged";

// An id from outside becomes a file's name: nothing in it may mean anything to a file system.
const std::string& checkedName(const std::string& name) {
    const bool plain = name.find_first_not_of(
                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                           "0123456789_-") == std::string::npos;
    if (name.empty() || name.size() > 64 || !plain) {
        throw WireError(kWireBadRequest, "an id has 1 to 64 letters, digits, '-' and '_'");
    }
    return name;
}

std::string newName() { return Poco::UUIDGenerator::defaultGenerator().createRandom().toString(); }

std::string contentOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void write(const fs::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw WireError(kWireNoRoom, "the platform can't write to its disk");
    }
}

std::string digestOf(const fs::path& path) {
    Poco::MD5Engine engine;
    Poco::DigestOutputStream digest(engine);
    std::ifstream file(path, std::ios::binary);
    Poco::StreamCopier::copyStream(file, digest, 65536);
    digest.close();
    return Poco::DigestEngine::digestToHex(engine.digest());
}

void checkCoverage(const std::vector<FileStore::Chunk>& chunks, std::uint64_t size) {
    std::uint64_t covered = 0;
    for (const FileStore::Chunk& chunk : chunks) {
        if (chunk.left > covered) {
            break;
        }
        covered = std::max(covered, chunk.right);
    }
    if (covered != size) {
        throw WireError(kWireChunksMissing, "the chunks cover " + std::to_string(covered) + " of " +
                                                std::to_string(size) + " bytes from the beginning");
    }
}

// A chunk's record carries its place in its name, so that chunks of other places are never touched.
std::string recordName(const FileStore::Chunk& chunk) {
    return std::to_string(chunk.left) + "-" + std::to_string(chunk.right);
}

FileStore::Chunk readRecord(const fs::path& path) {
    FileStore::Chunk chunk;
    char dash = 0;
    std::istringstream(path.filename().string()) >> chunk.left >> dash >> chunk.right;
    chunk.digest = contentOf(path);
    return chunk;
}

}  // namespace

FileStore::FileStore(const std::string& directory)
    : m_temporary(directory.empty()),
      m_directory(directory.empty() ? Poco::TemporaryFile::tempName() : directory) {
    fs::create_directories(m_files);
    fs::create_directories(m_chunks);
    fs::remove_all(m_drafts);  // what a server that was killed didn't finish
    fs::create_directories(m_drafts);
}

FileStore::~FileStore() {
    if (m_temporary) {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }
}

FileStore::Draft::Draft(fs::path path)
    : m_path(std::move(path)), m_stream(m_path, std::ios::binary | std::ios::trunc) {}

FileStore::Draft::~Draft() {
    m_stream.close();
    std::error_code ignored;
    fs::remove(m_path, ignored);  // not there any more once it is taken
}

void FileStore::Draft::close() {
    m_stream.close();
    if (!m_stream) {
        throw WireError(kWireNoRoom, "the platform can't write to its disk");
    }
}

FileStore::Draft FileStore::newDraft() const { return Draft(m_drafts / newName()); }

void FileStore::take(Draft& draft, File& file) const {
    draft.close();
    file.id = newName();
    fs::rename(draft.m_path, content(file));
    describe(file);
}

void FileStore::describe(const File& file) const {
    rapidjson::Document record(rapidjson::kObjectType);
    addText(record, "name", file.name);
    addText(record, "digest", file.digest);
    write(m_files / (file.id + ".json"), toText(record));
}

FileStore::File FileStore::find(const std::string& id) const {
    File file;
    file.id = checkedName(id);
    rapidjson::Document record;
    record.Parse(contentOf(m_files / (id + ".json")).c_str());
    if (record.HasParseError() || !record.IsObject() || !fs::exists(content(file))) {
        throw WireError(kWireNoFile, "no file has the id " + id);
    }
    file.name = record["name"].GetString();
    file.digest = record["digest"].GetString();
    file.size = fs::file_size(content(file));
    return file;
}

fs::path FileStore::chunkFolder(const std::string& uuid) const { return m_chunks / checkedName(uuid); }

std::fstream FileStore::openChunk(const std::string& uuid, const Chunk& place) const {
    const fs::path folder = chunkFolder(uuid);
    fs::create_directories(folder);
    fs::remove(folder / recordName(place));
    std::ofstream(folder / kData, std::ios::binary | std::ios::app);  // made when it isn't there
    std::fstream data(folder / kData, std::ios::binary | std::ios::in | std::ios::out);
    data.seekp(static_cast<std::streamoff>(place.left));
    return data;
}

void FileStore::keepChunk(const std::string& uuid, const Chunk& chunk) const {
    write(chunkFolder(uuid) / recordName(chunk), chunk.digest);
}

std::vector<FileStore::Chunk> FileStore::chunks(const std::string& uuid) const {
    std::vector<Chunk> found;
    const fs::path folder = chunkFolder(uuid);
    if (fs::exists(folder)) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().filename() != kData && entry.path().filename() != kMerged) {
                found.push_back(readRecord(entry.path()));
            }
        }
    }
    std::sort(found.begin(), found.end(), [](const Chunk& a, const Chunk& b) { return a.left < b.left; });
    return found;
}

void FileStore::merge(const std::string& uuid, File& file) const {
    const fs::path folder = chunkFolder(uuid);
    const std::vector<Chunk> all = chunks(uuid);
    checkCoverage(all, file.size);
    if (all.empty()) {  // a file of no bytes needs no chunk
        fs::create_directories(folder);
        write(folder / kData, "");
    }
    const std::string digest = digestOf(folder / kData);
    if (!file.digest.empty() && file.digest != digest) {
        throw WireError(kWireOtherDigest, "the content's digest is " + digest);
    }
    file.digest = digest;
    file.id = newName();
    describe(file);
    write(folder / kMerged, file.id);  // counts from the moment the file is there
    fs::rename(folder / kData, content(file));
    for (const Chunk& chunk : all) {
        fs::remove(folder / recordName(chunk));
    }
}

std::string FileStore::mergedInto(const std::string& uuid) const {
    const std::string id = contentOf(chunkFolder(uuid) / kMerged);
    return !id.empty() && fs::exists(m_files / id) ? id : "";
}

void FileStore::forgetChunks(const std::string& uuid) const { fs::remove_all(chunkFolder(uuid)); }

}  // namespace devserver
