// The part of the logger that walks directories. It stands above the file utilities, which log themselves.
#include <Poco/DirectoryIterator.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "vloxlib/log/GenericLogger.h"
#include "vloxlib/log/LogWorker.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

using vloxlib::FileUtil;
using vloxlib::GenericLogger;
using vloxlib::LogWorker;

namespace fs = std::filesystem;

namespace {

constexpr __int64 kRetentionSeconds = 604800;
constexpr int kDailyFiles = 0;
constexpr int kMaxFiles = 5;
constexpr int kMaxFileSize = 0x500000;

struct LogFileRule {
    std::string baseName;
    std::string extension;
    __int64 begin;
    __int64 end;

    // A file that goes meanwhile, or a link to none, is none of ours.
    bool takes(const Poco::Path& path) const {
        if (path.getExtension() != extension || path.getBaseName().find(baseName) == std::string::npos) {
            return false;
        }
        try {
            const Poco::File file(path);
            const __int64 modified = file.getLastModified().epochTime();
            return file.isFile() && begin <= modified && modified <= end;
        } catch (const Poco::Exception&) {
            return false;
        }
    }
};

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code failure;
    return fs::equivalent(fs::u8path(one), fs::u8path(other), failure);
}

// What a copy of the file to the target is called.
std::string copyOf(const std::string& path, const std::string& target) {
    std::error_code failure;
    const fs::path copy = fs::u8path(target);
    return fs::is_directory(copy, failure) ? (copy / fs::u8path(path).filename()).u8string() : target;
}

void removeOldFiles() {
    remove_histroy_log_files(static_cast<__int64>(std::time(nullptr)) - kRetentionSeconds);
}

}  // namespace

// The log files that were last written between two times, both included.
static std::vector<std::string> collect_log_path_name(const std::string& logPath, __int64 begin,
                                                      __int64 end) {
    std::vector<std::string> found;
    if (begin >= end) {
        VLOX_LOG(4, "time begin: %lld. time end :%lld \n", begin, end);
        return found;
    }
    try {
        const Poco::Path log(logPath);
        const Poco::Path directory = log.parent();
        VLOX_LOG(2, "logPath: %s. logDir:%s \n", logPath.c_str(), directory.toString().c_str());
        const LogFileRule rule{log.getBaseName(), log.getExtension(), begin, end};
        for (Poco::DirectoryIterator entry(directory), none; entry != none; ++entry) {
            if (rule.takes(entry.path())) {
                found.push_back(entry.path().toString());
            }
        }
    } catch (const Poco::Exception& error) {
        VLOX_LOG(4, "remove_histroy_log_files error. path:%s, error msg:%s\n", logPath.c_str(),
                 error.displayText().c_str());
    }
    return found;
}

void create_logger(const char* name, const char* path, bool debugOutput) {
    LogWorker::onEndOfDay(removeOldFiles);
    setProcessLogger(
        std::make_unique<GenericLogger>(name, path, debugOutput, kDailyFiles, kMaxFiles, kMaxFileSize));
    removeOldFiles();
}

int collect_sdk_log(const char* destination, __int64 begin, __int64 end) {
    const GenericLogger* const current = vloxlib::processLogger();
    if (current == nullptr) {
        return -1;
    }
    if (current->logger() == nullptr) {
        return 0;
    }
    LogWorker::flush();
    std::string directory = vloxlib::withSystemSeparators(destination == nullptr ? "" : destination);
    if (directory.size() > 1 && directory.back() == Poco::Path::separator()) {
        directory.pop_back();
    }
    const std::string target =
        Poco::Path(directory).parent().append(Poco::Path(directory).getFileName()).toString();
    const std::vector<std::string> logs = collect_log_path_name(current->path(), begin, end);
    for (const std::string& path : logs) {
        const std::string copy = copyOf(path, target);
        const bool isLog = std::any_of(logs.begin(), logs.end(),
                                       [&](const std::string& log) { return isSameFile(log, copy); });
        if (!isLog) {
            FileUtil::copyFile(path, target);
        }
    }
    return 0;
}

void remove_histroy_log_files(__int64 before) {
    const GenericLogger* const current = vloxlib::processLogger();
    if (current == nullptr || current->logger() == nullptr) {
        return;
    }
    for (const std::string& path : collect_log_path_name(current->path(), 0, before)) {
        VLOX_LOG(2, "remove_histroy_log_files: %s", path.c_str());
        FileUtil::remove(path);
    }
}
