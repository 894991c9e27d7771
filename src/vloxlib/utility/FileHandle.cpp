#include "vloxlib/utility/FileHandle.h"

#include <Poco/File.h>

#include <filesystem>

#include "platform/FileOpen.h"

namespace vloxlib {

FileHandle openFile(const std::string& path, const char* mode) {
    FileHandle file(platform::openFile(path, mode));
    if (!file) {
        Poco::File::handleLastError(path);
    }
    return file;
}

bool closeWritten(FileHandle file) {
    const bool refused = std::ferror(file.get()) != 0;
    return std::fclose(file.release()) == 0 && !refused;
}

// Directories have identities in not all of the systems' libraries: their resolved paths are compared as
// well.
bool isSameFile(const std::string& one, const std::string& other) {
    namespace fs = std::filesystem;
    std::error_code failure;
    if (fs::equivalent(fs::u8path(one), fs::u8path(other), failure)) {
        return true;
    }
    const fs::path resolved = fs::canonical(fs::u8path(one), failure);
    return !resolved.empty() && resolved == fs::canonical(fs::u8path(other), failure);
}

}  // namespace vloxlib
