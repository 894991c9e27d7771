#include "vloxlib/http/FileVersion.h"

#include <curl/curl.h>

#include <charconv>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

constexpr int64 kUnknown = -1;

int64 numberOf(std::string_view text) {
    int64 number = kUnknown;
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, number);
    const auto read = static_cast<std::size_t>(behind - text.data());
    const bool whole = error == std::errc() && text.find_first_not_of(' ', read) == text.npos;
    return whole && number >= 0 ? number : kUnknown;
}

// A weak tag may stay the same while bytes change.
bool isStrongTag(std::string_view tag) { return !tag.empty() && tag.front() == '"'; }

// A date of the second in which the file was sent may stay the same while the file is written on.
bool isStrongDate(const std::string& modified, const std::string& sent) {
    const time_t then = curl_getdate(modified.c_str(), nullptr);
    const time_t now = curl_getdate(sent.c_str(), nullptr);
    return then != -1 && now != -1 && then < now;
}

std::string placeBeside(const std::string& path) { return path + ".version"; }

}  // namespace

ContentRange readContentRange(std::string_view value) {
    constexpr std::string_view unit = "bytes ";
    const std::size_t slash = value.find('/');
    if (value.substr(0, unit.size()) != unit || slash == value.npos) {
        return {};
    }
    const std::string_view span = value.substr(unit.size(), slash - unit.size());
    const std::size_t dash = span.find('-');
    ContentRange range;
    range.total = numberOf(value.substr(slash + 1));
    if (dash != span.npos) {
        range.first = numberOf(span.substr(0, dash));
        range.last = numberOf(span.substr(dash + 1));
    }
    return range;
}

FileVersion versionOf(const ReplyHeaders& reply) {
    FileVersion version;
    version.length = reply.status() == 206 ? readContentRange(reply.last("Content-Range")).total
                                           : numberOf(reply.last("Content-Length"));
    const std::string tag(reply.last("ETag"));
    const std::string modified(reply.last("Last-Modified"));
    if (isStrongTag(tag)) {
        version.validator = tag;
    } else if (isStrongDate(modified, std::string(reply.last("Date")))) {
        version.validator = modified;
    }
    return version;
}

bool isSameFile(const FileVersion& before, const FileVersion& now) {
    const bool sameLength = before.length == kUnknown || before.length == now.length;
    return sameLength && !before.validator.empty() && before.validator == now.validator;
}

FileVersion readVersionBeside(const std::string& path) {
    std::string text;
    if (FileUtil::isExist(placeBeside(path)) != 0 ||
        FileUtil::readFileContent(placeBeside(path), text) != 0) {
        return {};
    }
    const std::size_t blank = text.find(' ');
    const bool readable =
        blank != text.npos && text.find_first_of("\r\n") == text.npos;  // goes into a header
    return readable ? FileVersion{numberOf(text.substr(0, blank)), text.substr(blank + 1)} : FileVersion();
}

void writeVersionBeside(const std::string& path, const FileVersion& version) {
    const std::string text = std::to_string(version.length) + " " + version.validator;
    if (FileUtil::writeFileContent(placeBeside(path), text) != 0) {
        VLOX_LOG(3, "a partial file won't be gone on with, path=%s", path.c_str());
        removeVersionBeside(path);
    }
}

void removeVersionBeside(const std::string& path) {
    if (FileUtil::isExist(placeBeside(path)) == 0) {
        FileUtil::remove(placeBeside(path));
    }
}

}  // namespace vloxlib
