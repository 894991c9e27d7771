#ifndef TOOLS_QUIETFILE_H
#define TOOLS_QUIETFILE_H

#include <filesystem>
#include <string>
#include <vector>

#include "vloxlib/utility/SqliteHandles.h"

namespace inspect {

/// @brief A database that is read without a trace: no byte of it changes and no file appears beside it.
///
/// No lock is taken either, so that a program may start, work and end meanwhile: what is read is a copy in
/// the temporary directory, of the file and of the log beside it, as they stood at one moment. What a killed
/// process left in the log is read too. Errors: the constructor and rows() throw std::runtime_error with a
/// text for the user.
class QuietFile {
public:
    explicit QuietFile(const std::string& path);
    ~QuietFile();
    QuietFile(const QuietFile&) = delete;
    QuietFile& operator=(const QuietFile&) = delete;

    /// All rows of a query, their values as text; a NULL is the empty text.
    std::vector<std::vector<std::string>> rows(const std::string& sql) const;

private:
    std::string copy(const std::filesystem::path& file) const;
    void open(const std::string& copy, const std::string& path);
    void removeCopies() const;

    std::filesystem::path m_copies;  // removed at the end
    vloxlib::SqliteConnection m_connection;
};

}  // namespace inspect

#endif
