#include "QuietFile.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <limits>
#include <random>
#include <stdexcept>

namespace inspect {

namespace {

namespace fs = std::filesystem;

// How often a program may get in between while its files are copied.
constexpr int kAttempts = 200;
// SQLite keeps its locks in the page here, which it never reads or writes, and which Windows doesn't let
// others read.
constexpr std::uintmax_t kLockedPage = 0x40000000;

fs::path beside(const fs::path& path, const char* ending) {
    fs::path file = path;
    file += ending;
    return file;
}

// Empty for a file that isn't there.
std::string beginning(const fs::path& path, std::size_t size) {
    std::string bytes(size, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

// What changes when a program begins a new log, or writes into the file with none beside it. As long as a log
// goes on, it holds all that has changed in the file since it was begun: copies of the file and then of the
// log belong together, wherever the program stood.
struct Moment {
    explicit Moment(const fs::path& path)
        : writeAheadLog(beginning(beside(path, "-wal"), 32)),
          journal(beginning(beside(path, "-journal"), 512)) {
        if (writeAheadLog.empty() && journal.empty()) {
            header = beginning(path, 100);
            size = fs::file_size(path);
            written = fs::last_write_time(path);
        }
    }
    bool operator==(const Moment& other) const {
        return writeAheadLog == other.writeAheadLog && journal == other.journal && header == other.header &&
               size == other.size && written == other.written;
    }

    std::string writeAheadLog;
    std::string journal;
    std::string header;
    std::uintmax_t size = 0;
    fs::file_time_type written{};
};

std::uintmax_t pageSize(const fs::path& path) {
    const std::string header = beginning(path, 18);
    if (header.size() < 18) {
        return 0;
    }
    const auto byte = [&](std::size_t at) {
        return static_cast<std::uintmax_t>(static_cast<unsigned char>(header[at]));
    };
    const std::uintmax_t size = byte(16) * 256 + byte(17);
    return size == 1 ? 65536 : size;
}

void copyBytes(std::ifstream& from, std::ofstream& to, std::uintmax_t first, std::uintmax_t end) {
    std::array<char, 1 << 16> buffer{};
    from.seekg(static_cast<std::streamoff>(first));
    to.seekp(static_cast<std::streamoff>(first));
    for (std::uintmax_t at = first; at < end && from; at += static_cast<std::uintmax_t>(from.gcount())) {
        const std::uintmax_t size = end - at < buffer.size() ? end - at : buffer.size();
        from.read(buffer.data(), static_cast<std::streamsize>(size));
        to.write(buffer.data(), from.gcount());
    }
}

// Nothing for a file that isn't there.
void copyFile(const fs::path& from, const fs::path& to) {
    std::ifstream in;
    in.rdbuf()->pubsetbuf(nullptr, 0);  // reads what is asked for, and not beyond
    in.open(from, std::ios::binary);
    if (!in) {
        return;
    }
    std::ofstream out(to, std::ios::binary);
    copyBytes(in, out, 0, kLockedPage);
    if (in) {
        copyBytes(in, out, kLockedPage + pageSize(from), std::numeric_limits<std::streamoff>::max());
    }
    if (!out.flush()) {
        throw std::runtime_error(to.parent_path().u8string() + " has no room for a copy");
    }
}

}  // namespace

QuietFile::QuietFile(const std::string& path) {
    const fs::path file = fs::u8path(path);
    if (!fs::is_regular_file(file)) {
        throw std::runtime_error(path + " is no file");
    }
    std::random_device random;
    m_copies =
        fs::temp_directory_path() / ("vlox-inspect-" + std::to_string(random()) + std::to_string(random()));
    fs::create_directory(m_copies);
    fs::permissions(m_copies, fs::perms::owner_all);
    try {
        open(copy(file), path);
    } catch (...) {
        removeCopies();
        throw;
    }
}

QuietFile::~QuietFile() {
    m_connection.reset();
    removeCopies();
}

void QuietFile::removeCopies() const {
    std::error_code ignored;
    fs::remove_all(m_copies, ignored);
}

std::string QuietFile::copy(const fs::path& file) const {
    const fs::path copy = m_copies / "copy.db";
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Moment before(file);
        copyFile(file, copy);
        for (const char* log : {"-wal", "-journal"}) {
            fs::remove(beside(copy, log));
            copyFile(beside(file, log), beside(copy, log));
        }
        if (before == Moment(file)) {
            return copy.u8string();
        }
    }
    throw std::runtime_error(file.u8string() + " is being written to all the time; try again");
}

void QuietFile::open(const std::string& copy, const std::string& path) {
    sqlite3* connection = nullptr;
    const int opened = sqlite3_open_v2(copy.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr);
    m_connection.reset(connection);
    const int read =
        sqlite3_exec(connection, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr);
    if (opened != SQLITE_OK || read != SQLITE_OK) {
        const std::string why = sqlite3_errmsg(connection);
        m_connection.reset();
        throw std::runtime_error(path + ": " + why);
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
