#ifndef PLATFORM_APPENDFILE_H
#define PLATFORM_APPENDFILE_H

#include <cstddef>
#include <memory>
#include <string>
#include <system_error>

namespace vloxlib::platform {

/// @brief An open file that is only ever added to.
///
/// Each append() is handed to the system as one piece: what another process adds lands before or behind it.
/// Programs that this process starts don't inherit the file. Threads: one at a time.
class AppendFile {
public:
    /// Opens the file. What is missing is made, folders too, and on systems that know such rights for the
    /// user alone. @param path UTF-8 @throws std::system_error when it can't be opened
    explicit AppendFile(std::string path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    const std::string& path() const { return m_path; }
    /// @return how many bytes were taken: all of them, or fewer with `failure` set.
    std::size_t append(const char* bytes, std::size_t size, std::error_code& failure);
    std::size_t size() const;  ///< 0 when the system doesn't tell
    /// Whether the path still leads to this file. Always so on systems that don't let an open file be
    /// removed.
    bool isInPlace() const;
    bool isRemoved() const;  ///< Nothing leads to the file any more.

private:
    struct Native;
    std::string m_path;
    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
