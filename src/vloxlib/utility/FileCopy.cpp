#include "vloxlib/utility/FileCopy.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <filesystem>
#include <utility>
#include <vector>

#include "platform/FileOpen.h"
#include "vloxlib/utility/FileHandle.h"

namespace vloxlib {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBuffer = 65536;

void copyContent(const std::string& source, const std::string& target) {
    const FileHandle from = openFile(source, "rb");
    FileHandle to = openFile(target, "wb");
    std::vector<char> buffer(kBuffer);
    std::size_t length = 0;
    while ((length = std::fread(buffer.data(), 1, buffer.size(), from.get())) > 0 &&
           std::fwrite(buffer.data(), 1, length, to.get()) == length) {
    }
    if (std::ferror(from.get()) != 0) {
        throw Poco::ReadFileException(source);
    }
    if (!platform::syncFile(to.get()) || !closeWritten(std::move(to))) {
        throw Poco::WriteFileException(target);
    }
}

// One of the directories that the path stands in is this one.
bool standsIn(fs::path path, const std::string& directory) {
    while (path.has_relative_path()) {
        path = path.parent_path();
        if (isSameFile(path.u8string(), directory)) {
            return true;
        }
    }
    return false;
}

void makeFolders(const fs::path& path) {
    if (!fs::is_directory(path)) {
        if (path.has_parent_path()) {
            makeFolders(path.parent_path());
        }
        makeFolder(path.u8string());
    }
}

void copyAny(const Poco::File& source, const std::string& target);

void copyFolder(const Poco::File& source, const std::string& target) {
    if (standsIn(fs::weakly_canonical(fs::u8path(target)), source.path())) {
        throw Poco::FileException("a directory isn't copied into itself", source.path());
    }
    std::vector<Poco::File> entries;
    source.list(entries);
    makeFolders(fs::u8path(target));
    for (const Poco::File& entry : entries) {
        if (standsIn(fs::u8path(entry.path()), entry.path())) {
            throw Poco::FileException("a link leads back up", entry.path());
        }
        copyAny(entry, Poco::Path(target)
                           .makeDirectory()
                           .setFileName(Poco::Path(entry.path()).getFileName())
                           .toString());
    }
}

void copyAny(const Poco::File& source, const std::string& target) {
    if (isSameFile(source.path(), target)) {
        return;
    }
    if (source.isDirectory()) {
        copyFolder(source, target);
    } else {
        copyContent(source.path(), target);
    }
}

}  // namespace

void makeFolder(const std::string& path) {
    if (!platform::makePrivateFolder(path)) {
        Poco::File(path).createDirectory();  // knows one that is there from a failure
    }
}

void copyTo(const Poco::File& source, const std::string& destination) {
    Poco::Path target(destination);
    const Poco::File there(destination);
    if (target.isDirectory() || (there.exists() && there.isDirectory())) {
        target.makeDirectory().setFileName(Poco::Path(source.path()).getFileName());
    }
    copyAny(source, target.toString());
}

}  // namespace vloxlib
