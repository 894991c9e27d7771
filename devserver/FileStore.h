#ifndef DEVSERVER_FILESTORE_H
#define DEVSERVER_FILESTORE_H

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace devserver {

/// The platform's files, on the disk: whole ones under ids of its own, and the chunks of those that are on
/// their way, under the names that clients give them. What it is told from outside never leads out of its
/// folder.
///
/// Threads: all operations from any. Errors: WireError, and std::filesystem::filesystem_error.
class FileStore {
public:
    /// @param directory made when it isn't there; empty: one that is removed at the end
    explicit FileStore(const std::string& directory);
    ~FileStore();
    FileStore(const FileStore&) = delete;
    FileStore& operator=(const FileStore&) = delete;

    struct File {
        std::string id;
        std::string name;  ///< as the client calls it
        std::string digest;
        std::uint64_t size = 0;
    };
    struct Chunk {
        std::uint64_t left = 0;   ///< the first byte
        std::uint64_t right = 0;  ///< the first byte behind
        std::string digest;
    };

    /// A file that is being written; removed again unless the store takes it.
    class Draft {
    public:
        explicit Draft(std::filesystem::path path);
        ~Draft();
        Draft(const Draft&) = delete;
        Draft& operator=(const Draft&) = delete;
        std::ostream& stream() { return m_stream; }

    private:
        friend class FileStore;
        void close();

        const std::filesystem::path m_path;
        std::ofstream m_stream;
    };
    Draft newDraft() const;
    /// The draft as a file; the id is set.
    void take(Draft& draft, File& file) const;
    File find(const std::string& id) const;
    std::filesystem::path content(const File& file) const { return m_files / file.id; }

    /// Where a chunk is to be written; the record of one of the same place goes.
    std::fstream openChunk(const std::string& uuid, const Chunk& place) const;
    /// The chunk has been written.
    void keepChunk(const std::string& uuid, const Chunk& chunk) const;
    /// In the order of their place; none for a name never heard of.
    std::vector<Chunk> chunks(const std::string& uuid) const;
    /// Makes a file of the chunks, which have to cover it without a gap; the id is set. A digest that isn't
    /// empty has to be that of the content.
    void merge(const std::string& uuid, File& file) const;
    /// The id of the file that was made of these chunks; empty: they have not been merged.
    std::string mergedInto(const std::string& uuid) const;
    void forgetChunks(const std::string& uuid) const;

private:
    std::filesystem::path chunkFolder(const std::string& uuid) const;
    void describe(const File& file) const;

    const bool m_temporary;
    const std::filesystem::path m_directory;
    const std::filesystem::path m_files = m_directory / "files";
    const std::filesystem::path m_drafts = m_directory / "drafts";
    const std::filesystem::path m_chunks = m_directory / "chunks";
};

}  // namespace devserver

#endif
