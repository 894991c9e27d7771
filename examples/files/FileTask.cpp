#include "FileTask.h"

#include <common/Json.h>
#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/encrypt/MD5.h>

#include <filesystem>

namespace files {

using common::intOf;
using common::JsonObject;
using common::longOf;
using common::parseJson;
using common::textOf;

std::string toPayload(const FileTask& task) {
    const std::string data = JsonObject()
                                 .add(FIELD_FILE_TAG, std::string(COMMON_FILE_TAG))
                                 .add(FIELD_FILE_PATH, task.path)
                                 .add(FIELD_FILE_SIZE, task.size)
                                 .add(FIELD_DIGEST, task.digest)
                                 .add(FIELD_TIME_STAMP, task.modified)
                                 .add(FIELD_CHUNK_SIZE, task.chunkSize)
                                 .add(FIELD_FILE_ID, task.url)
                                 .text();
    return JsonObject()
        .add(FIELD_HTTP_REQUESR_TYPE, static_cast<long long>(task.direction))
        .add(FIELD_HTTP_REQUESR_DATA, data)
        .text();
}

std::optional<FileTask> fromPayload(const std::string& id, const std::string& payload) {
    const rapidjson::Document outer = parseJson(payload);
    const rapidjson::Document data = parseJson(textOf(outer, FIELD_HTTP_REQUESR_DATA));
    const int direction = intOf(outer, FIELD_HTTP_REQUESR_TYPE, 0);
    FileTask task;
    task.id = id;
    task.direction = static_cast<FileTask::Direction>(direction);
    task.path = textOf(data, FIELD_FILE_PATH);
    task.size = longOf(data, FIELD_FILE_SIZE, -1);
    task.digest = textOf(data, FIELD_DIGEST);
    task.modified = longOf(data, FIELD_TIME_STAMP, 0);
    task.chunkSize = longOf(data, FIELD_CHUNK_SIZE, 0);
    task.url = textOf(data, FIELD_FILE_ID);
    const bool whole = (direction == FileTask::SEND && task.chunkSize > 0) || direction == FileTask::FETCH;
    return whole && task.size >= 0 && !task.path.empty() ? std::make_optional(task) : std::nullopt;
}

std::string idOf(const FileTask& task) {
    const std::string wish = task.direction == FileTask::SEND
                                 ? "send|" + std::to_string(task.size) + "|" + std::to_string(task.modified)
                                 : "fetch|" + task.url;
    return vloxlib::MD5::md5(wish + "|" + task.path);
}

bool readFacts(FileTask& task) {
    std::error_code failed;
    const std::filesystem::path path = std::filesystem::u8path(task.path);
    if (!std::filesystem::is_regular_file(path, failed)) {
        return false;
    }
    task.size = static_cast<int64>(std::filesystem::file_size(path, failed));
    if (failed) {
        return false;
    }
    task.modified =
        static_cast<int64>(std::filesystem::last_write_time(path, failed).time_since_epoch().count());
    return !failed;
}

std::string describe(const FileTask& task) {
    return JsonObject()
        .add(FIELD_FILE_ID, task.url)
        .add(FIELD_FILE_PATH, task.path)
        .add(FIELD_FILE_SIZE, task.size)
        .add(FIELD_DIGEST, task.digest)
        .text();
}

}  // namespace files
