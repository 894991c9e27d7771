#ifndef TOOLS_QUIETFILE_H
#define TOOLS_QUIETFILE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "vloxlib/utility/SqliteHandles.h"

namespace inspect {

/// @brief A database that is read without a trace: no byte of it changes and no file appears beside it.
///
/// SQLite's shared lock on the file is held meanwhile, so that nobody writes it. What a killed process left
/// in the write-ahead log is read too, from a copy in the temporary directory. Errors: the constructor and
/// rows() throw std::runtime_error with a text for the user.
class QuietFile {
public:
    explicit QuietFile(const std::string& path);
    ~QuietFile();
    QuietFile(const QuietFile&) = delete;
    QuietFile& operator=(const QuietFile&) = delete;

    /// All rows of a query, their values as text; a NULL is the empty text.
    std::vector<std::vector<std::string>> rows(const std::string& sql) const;

private:
    class SharedLock;
    void open(const std::string& uri, const std::string& path);
    std::string copyWithLog(const std::string& path);

    std::unique_ptr<SharedLock> m_lock;
    std::filesystem::path m_copies;  // removed at the end; empty without copies
    vloxlib::SqliteConnection m_connection;
};

}  // namespace inspect

#endif
