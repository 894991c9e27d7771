#include "QuietFile.h"

#include <cstdio>
#include <random>
#include <stdexcept>

namespace inspect {

namespace {

namespace fs = std::filesystem;

std::string percentEncoded(const std::string& path) {
    std::string encoded;
    for (const char c : path) {
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
        encoded += code;
    }
    return encoded;
}

bool hasContent(const fs::path& path) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return !error && size > 0;
}

}  // namespace

// Taken through SQLite's own file layer: a connection would make files beside one in WAL mode.
class QuietFile::SharedLock {
public:
    explicit SharedLock(const std::string& path) : m_memory(vfs().szOsFile) {
        int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
        if (vfs().xOpen(&vfs(), path.c_str(), file(), flags, &flags) != SQLITE_OK) {
            close();
            throw std::runtime_error(path + " can't be opened");
        }
        if (file()->pMethods->xLock(file(), SQLITE_LOCK_SHARED) != SQLITE_OK) {
            close();
            throw std::runtime_error(path +
                                     " is held by a running process; it can be read when that has ended");
        }
    }
    ~SharedLock() {
        file()->pMethods->xUnlock(file(), SQLITE_LOCK_NONE);
        close();
    }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

private:
    static sqlite3_vfs& vfs() { return *sqlite3_vfs_find(nullptr); }
    sqlite3_file* file() { return reinterpret_cast<sqlite3_file*>(m_memory.data()); }
    void close() {
        if (file()->pMethods != nullptr) {
            file()->pMethods->xClose(file());
        }
    }

    // Of the size that the file layer asks for; operator new aligns it for anything.
    std::vector<char> m_memory;
};

QuietFile::QuietFile(const std::string& path) {
    if (!fs::is_regular_file(fs::u8path(path))) {
        throw std::runtime_error(path + " is no file");
    }
    sqlite3_initialize();
    // The system's locks belong to the process and its inode: the path is the one that SQLite will open.
    const std::string absolute = fs::absolute(fs::u8path(path)).u8string();
    m_lock = std::make_unique<SharedLock>(absolute);
    if (hasContent(fs::u8path(absolute + "-wal"))) {
        open("file:" + percentEncoded(copyWithLog(absolute)), path);
    } else {
        open("file:" + percentEncoded(absolute) + "?immutable=1", path);
    }
}

QuietFile::~QuietFile() {
    m_connection.reset();
    if (!m_copies.empty()) {
        std::error_code ignored;
        fs::remove_all(m_copies, ignored);
    }
}

std::string QuietFile::copyWithLog(const std::string& path) {
    std::random_device random;
    m_copies =
        fs::temp_directory_path() / ("vlox-inspect-" + std::to_string(random()) + std::to_string(random()));
    fs::create_directory(m_copies);
    fs::permissions(m_copies, fs::perms::owner_all);
    const fs::path copy = m_copies / "copy.db";
    fs::copy_file(fs::u8path(path), copy);
    fs::copy_file(fs::u8path(path + "-wal"), m_copies / "copy.db-wal");
    return copy.u8string();
}

void QuietFile::open(const std::string& uri, const std::string& path) {
    sqlite3* connection = nullptr;
    const int flags = m_copies.empty() ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    const int opened = sqlite3_open_v2(uri.c_str(), &connection, flags | SQLITE_OPEN_URI, nullptr);
    m_connection.reset(connection);
    const int read =
        sqlite3_exec(connection, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr);
    if (opened != SQLITE_OK || read != SQLITE_OK) {
        throw std::runtime_error(path + ": " + sqlite3_errmsg(connection));
    }
}

std::vector<std::vector<std::string>> QuietFile::rows(const std::string& sql) const {
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(m_connection.get(), sql.c_str(), -1, &prepared, nullptr);
    const vloxlib::SqliteStatement owner(prepared);
    vloxlib::SqliteUse statement(prepared);
    std::vector<std::vector<std::string>> found;
    int code = statement.step();
    for (; code == SQLITE_ROW; code = statement.step()) {
        auto& row = found.emplace_back();
        for (int column = 0; column < sqlite3_column_count(prepared); ++column) {
            row.push_back(statement.text(column));
        }
    }
    if (code != SQLITE_DONE) {
        throw std::runtime_error(std::string("unexpected content: ") + sqlite3_errmsg(m_connection.get()));
    }
    return found;
}

}  // namespace inspect
