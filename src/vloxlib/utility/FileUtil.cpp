#include "vloxlib/utility/FileUtil.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "platform/FileOpen.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileCopy.h"
#include "vloxlib/utility/FileHandle.h"

namespace vloxlib {

namespace {

namespace fs = std::filesystem;

constexpr int kDone = 0;
constexpr int kFailed = -1;

// What an operation won't do, with the text for the log.
class Refusal : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Runs one operation under its name: whatever goes wrong in it becomes a line in the log and its result.
template <class Result, class Operation>
Result guarded(const char* name, Result failure, Operation operation) {
    std::string reason;
    try {
        return operation();
    } catch (const Refusal& refusal) {
        reason = refusal.what();
    } catch (const Poco::Exception& error) {
        reason = "failed. code = " + std::to_string(error.code());
    } catch (const fs::filesystem_error& error) {
        reason = "failed. code = " + std::to_string(error.code().value());
    } catch (const std::exception& error) {  // no memory for a file of such a size
        reason = std::string("failed. ") + error.what();
    }
    const std::string function = std::string("vloxlib::FileUtil::") + name;
    vloxprint_v2(3, __FILE__, function.c_str(), __LINE__, "%s", reason.c_str());
    return failure;
}

void requirePath(const std::string& path) {
    if (path.empty()) {
        throw Refusal("path is empty");
    }
}

Poco::File existing(const char* argument, const std::string& path) {
    const Poco::File file(path);
    if (!file.exists()) {
        throw Refusal(std::string(argument) + '=' + path + ", file isn't exists");
    }
    return file;
}

// Reads as much as the file has when it is opened, and fails when it ends before.
std::string readAll(const std::string& path) {
    if (Poco::File(path).isDirectory()) {
        throw Poco::ReadFileException(path);
    }
    const FileHandle file = openFile(path, "rb");
    const long long length = platform::fileLength(file.get());
    if (length < 0) {
        Poco::File::handleLastError(path);
    }
    std::string bytes(static_cast<std::size_t>(length), '\0');
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        throw Poco::ReadFileException(path);
    }
    return bytes;
}

void writeAll(const std::string& path, const std::string& content) {
    FileHandle file = openFile(path, "wb");
    std::fwrite(content.data(), 1, content.size(), file.get());
    if (!closeWritten(std::move(file))) {
        throw Poco::WriteFileException(path);
    }
}

std::vector<std::string> entries(const std::string& directory) {
    requirePath(directory);
    const Poco::File file = existing("path", directory);
    if (!file.isDirectory()) {
        throw Refusal("path=" + directory + ", isn't a directory");
    }
    std::vector<Poco::File> listed;
    file.list(listed);
    std::vector<std::string> paths;
    paths.reserve(listed.size());
    for (const Poco::File& entry : listed) {
        paths.push_back(entry.path());
    }
    return paths;
}

}  // namespace

int FileUtil::isExist(const std::string& path) {
    return guarded(__func__, kFailed, [&] {
        requirePath(path);
        return Poco::File(path).exists() ? kDone : kFailed;
    });
}

int FileUtil::createDir(const std::string& path) {
    return guarded(__func__, kFailed, [&] {
        requirePath(path);
        makeFolder(path);
        return kDone;
    });
}

int FileUtil::remove(const std::string& path) {
    return guarded(__func__, kFailed, [&] {
        requirePath(path);
        fs::remove_all(fs::u8path(path));
        return kDone;
    });
}

int FileUtil::rename(const std::string& source, const std::string& destination) {
    return guarded(__func__, kFailed, [&] {
        requirePath(source);
        requirePath(destination);
        existing("sourPath", source).renameTo(destination);
        return kDone;
    });
}

bool FileUtil::copyFile(const std::string& source, const std::string& destination) {
    return guarded(__func__, false, [&] {
        if (source.empty() || destination.empty()) {
            throw Refusal("sourPath=" + source + ", destPath=" + destination);
        }
        copyTo(existing("sourPath", source), destination);
        return true;
    });
}

__int64 FileUtil::getLocalFileLenth(const std::string& path) {
    return guarded(__func__, static_cast<__int64>(kFailed), [&] {
        requirePath(path);
        return static_cast<__int64>(existing("path", path).getSize());
    });
}

int FileUtil::readFileContent(const std::string& path, std::string& content) {
    return guarded(__func__, kFailed, [&] {
        requirePath(path);
        content = readAll(path);
        return kDone;
    });
}

int FileUtil::writeFileContent(const std::string& path, const std::string& content) {
    return guarded(__func__, kFailed, [&] {
        requirePath(path);
        writeAll(path, content);
        return kDone;
    });
}

std::string FileUtil::extractFileName(const std::string& path) {
    return guarded(__func__, std::string(), [&] { return Poco::Path(path).getFileName(); });
}

int FileUtil::getFileNameInDirectory(const std::string& directory, std::vector<std::string>& names) {
    return guarded(__func__, kFailed, [&] {
        for (const std::string& path : entries(directory)) {
            names.push_back(extractFileName(path));
        }
        return kDone;
    });
}

int FileUtil::getFilePathInDirectory(const std::string& directory, std::vector<std::string>& paths) {
    return guarded(__func__, kFailed, [&] {
        const std::vector<std::string> found = entries(directory);
        paths.insert(paths.end(), found.begin(), found.end());
        return kDone;
    });
}

std::FILE* FileUtil::fopen(const std::string& path, const char* mode) {
    return mode == nullptr ? nullptr : platform::openFile(path, mode);
}

}  // namespace vloxlib
