#include "FileModule.h"

#include <common/Json.h>
#include <vloxlib/ConfigManager.h>
#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/database/Sqlite3Functions.h>
#include <vloxlib/utility/FileUtil.h>
#include <win32/VLOXBase.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace files {

using common::JsonObject;
using common::longOf;
using common::textOf;
using vloxlib::FileUtil;

namespace {

// Smaller slices would be nothing but requests.
constexpr int64 kSmallestChunk = 1024;

int64 chunkSizeOf(__int64 clientId) {
    const auto config =
        vloxlib::ConfigManager::getInstance(vloxlib::VLOXBase::getUserInfo(clientId).getVloxID());
    const int size = config->getConfig(vloxlib::CONFIG_FILE_CHUNK_SIZE, 0);
    return std::max<int64>(size, kSmallestChunk);
}

// Empty: the file can be sent.
std::string whyNot(const FileTask& file, bool isFile) {
    if (FileUtil::isExist(file.path) != 0) {
        return "there is no such file";
    }
    if (!isFile) {
        return "it is no file";
    }
    if (std::FILE* const opened = FileUtil::fopen(file.path, "rb")) {
        std::fclose(opened);
        return file.size == 0 ? "it is empty, there is nothing to send" : "";
    }
    return "it can't be read";
}

}  // namespace

FileModule::FileModule(std::string storeName, int parallel, FilesListener listener, void* context)
    : m_storeName(std::move(storeName)), m_parallel(parallel), m_listener(listener), m_context(context) {}

void FileModule::onModuleRegistered(__int64 clientId) {
    m_queue = std::make_unique<FileQueue>(m_storeName);
    m_results = std::make_unique<FileResults>(m_storeName, m_listener, m_context);
    m_worker = std::make_unique<FileWorker>(clientId, *m_queue, *m_results, m_parallel, chunkSizeOf(clientId),
                                            m_listener, m_context);
}

// The other way round: first who works, then who delivers, then the store beneath them.
void FileModule::onModuleUnregistered() {
    m_worker.reset();
    if (m_results) {
        m_results->stop();
        m_results->join();
        m_results.reset();
    }
    m_queue.reset();
    vloxlib::Sqlite3Functions::releaseSqliteInstance(FileQueue::dataDirectory().c_str(), m_storeName);
}

void FileModule::onBusinessCmd(int, int command, const std::string& json) {
    const rapidjson::Document request = common::parseJson(json);
    switch (command) {
        case FILES_START:
            start(request);
            break;
        case FILES_SEND:
            send(request);
            break;
        case FILES_FETCH:
            fetch(request);
            break;
        default:
            break;
    }
}

void FileModule::start(const rapidjson::Value& request) {
    if (request.IsObject() && request.HasMember("delivered") && request["delivered"].IsArray()) {
        for (const auto& id : request["delivered"].GetArray()) {
            if (id.IsString()) {
                m_queue->noteId(id.GetString());
            }
        }
    }
    const FileQueue::LeftBehind left = m_queue->repair();
    tell(FILES_STARTED, JsonObject().add("tasks", left.tasks).add("results", left.results).text());
    m_results->start();
    m_worker->start();
}

void FileModule::send(const rapidjson::Value& request) {
    FileTask wish;
    wish.path = textOf(request, FIELD_FILE_PATH);
    const bool isFile = readFacts(wish);
    wish.id = idOf(wish);
    const std::string why = whyNot(wish, isFile);
    if (!why.empty()) {
        tell(FILES_REFUSED, JsonObject().add("id", wish.id).add("why", why).text());
        return;
    }
    accept(wish);
}

void FileModule::fetch(const rapidjson::Value& request) {
    FileTask wish;
    wish.direction = FileTask::FETCH;
    wish.path = textOf(request, FIELD_FILE_PATH);
    wish.url = textOf(request, FIELD_FILE_ID);
    wish.size = longOf(request, FIELD_FILE_SIZE, 0);
    wish.digest = textOf(request, FIELD_DIGEST);
    wish.id = idOf(wish);
    accept(wish);
}

void FileModule::accept(FileTask& wish) {
    const std::string id = JsonObject().add("id", wish.id).text();
    if (!m_queue->noteId(wish.id)) {
        tell(FILES_KNOWN, id);
        return;
    }
    tell(FILES_ACCEPTED, id);
    m_worker->add(wish);
}

}  // namespace files

vloxlib::VloxModuleAbstract* createFilesModule(const char* storeName, int parallel, FilesListener listener,
                                               void* context) {
    return new files::FileModule(storeName, parallel, listener, context);
}

void commandFiles(__int64 clientId, int command, const char* json) {
    vloxlib::VLOXBase::dispatchBusinessCmd(clientId, files::kFilesTarget, command, json);
}
