#include "vloxlib/utility/FileUtil.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Path.h>

#include "platform/FileOpen.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;

// Reads until the length that the file told, and fails when it ends before.
std::string readAll(const std::string& path) {
    if (Poco::File(path).isDirectory()) {
        throw Poco::ReadFileException(path);
    }
    Poco::FileInputStream file(path);
    file.seekg(0, std::ios::end);
    const std::streamoff length = file.tellg();
    file.seekg(0, std::ios::beg);
    if (!file || length < 0) {
        throw Poco::ReadFileException(path);
    }
    std::string bytes(static_cast<std::size_t>(length), '\0');
    file.read(&bytes[0], length);
    if (file.gcount() != length) {
        throw Poco::ReadFileException(path);
    }
    return bytes;
}

// Entries of a directory; what is missing or none is logged.
int listDirectory(const std::string& directory, std::vector<Poco::File>& entries) {
    if (directory.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        const Poco::File file(directory);
        if (!file.exists()) {
            VLOX_LOG(3, "path=%s, file isn't exists", directory.c_str());
            return kFailed;
        }
        if (!file.isDirectory()) {
            VLOX_LOG(3, "path=%s, isn't a directory", directory.c_str());
            return kFailed;
        }
        file.list(entries);
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

}  // namespace

int FileUtil::isExist(const std::string& path) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        return Poco::File(path).exists() ? kDone : kFailed;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

int FileUtil::createDir(const std::string& path) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        if (!platform::makePrivateFolder(path)) {
            Poco::File(path).createDirectory();  // knows one that is there from a failure
        }
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

int FileUtil::remove(const std::string& path) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        Poco::File file(path);
        if (file.exists()) {
            file.remove(true);
        }
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

int FileUtil::rename(const std::string& source, const std::string& destination) {
    if (source.empty() || destination.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        Poco::File file(source);
        if (!file.exists()) {
            VLOX_LOG(3, "sourPath=%s, file isn't exists", source.c_str());
            return kFailed;
        }
        file.renameTo(destination);
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

bool FileUtil::copyFile(const std::string& source, const std::string& destination) {
    if (source.empty() || destination.empty()) {
        VLOX_LOG(3, "sourPath=%s, destPath=%s", source.c_str(), destination.c_str());
        return false;
    }
    try {
        const Poco::File file(source);
        if (!file.exists()) {
            VLOX_LOG(3, "sourPath=%s, file isn't exists", source.c_str());
            return false;
        }
        file.copyTo(destination);
        return true;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return false;
    }
}

__int64 FileUtil::getLocalFileLenth(const std::string& path) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        const Poco::File file(path);
        if (!file.exists()) {
            VLOX_LOG(3, "path=%s, file isn't exists", path.c_str());
            return kFailed;
        }
        return static_cast<__int64>(file.getSize());
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

int FileUtil::readFileContent(const std::string& path, std::string& content) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        content = readAll(path);
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

int FileUtil::writeFileContent(const std::string& path, const std::string& content) {
    if (path.empty()) {
        VLOX_LOG(3, "path is empty");
        return kFailed;
    }
    try {
        std::FILE* const file = platform::openFile(path, "wb");
        if (file == nullptr) {
            Poco::File::handleLastError(path);
        }
        const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
        if (std::fclose(file) != 0 || !written) {
            throw Poco::WriteFileException(path);
        }
        return kDone;
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return kFailed;
    }
}

std::string FileUtil::extractFileName(const std::string& path) {
    try {
        return Poco::Path(path).getFileName();
    } catch (const Poco::Exception& error) {
        VLOX_LOG(3, "failed. code = %d", error.code());
        return std::string();
    }
}

int FileUtil::getFileNameInDirectory(const std::string& directory, std::vector<std::string>& names) {
    std::vector<Poco::File> entries;
    const int result = listDirectory(directory, entries);
    for (const Poco::File& entry : entries) {
        names.push_back(extractFileName(entry.path()));
    }
    return result;
}

int FileUtil::getFilePathInDirectory(const std::string& directory, std::vector<std::string>& paths) {
    std::vector<Poco::File> entries;
    const int result = listDirectory(directory, entries);
    for (const Poco::File& entry : entries) {
        paths.push_back(entry.path());
    }
    return result;
}

std::FILE* FileUtil::fopen(const std::string& path, const char* mode) {
    return mode == nullptr ? nullptr : platform::openFile(path, mode);
}

}  // namespace vloxlib
