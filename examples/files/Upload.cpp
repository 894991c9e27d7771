#include "Upload.h"

#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/http/FileParam.h>

#include <algorithm>
#include <set>
#include <thread>
#include <utility>

#include "Files.h"
#include "Verdict.h"

namespace files {

using common::JsonObject;
using common::longOf;
using common::textOf;
using vloxlib::HttpClient;

namespace {

constexpr int kSecondsToAsk = 15;

// The platform reads the whole file when it puts it together.
int secondsToMerge(int64 size) { return static_cast<int>(60 + size / 20'000'000); }

// setUploadFile() takes `long`, which has 32 bits on some systems; the record behind it doesn't.
bool setSlice(HttpClient& client, const std::string& path, int64 left, int64 right) {
    if (client.setUploadFile("file", path, 0, 0, 0) != 0) {
        return false;
    }
    auto* const slice = static_cast<vloxlib::UploadFileParm*>(client.getFileParam());
    slice->m_left = left;
    slice->m_right = right;
    return true;
}

}  // namespace

Upload::Upload(FileTask& task, const FileService& service, Transfers& transfers, int parallel,
               Progress::Tell tell)
    : m_task(task),
      m_service(service),
      m_transfers(transfers),
      m_parallel(parallel),
      m_tell(std::move(tell)),
      m_uuid(task.digest) {}  // the same content has the same slices, whoever sends it

Outcome Upload::run() {
    if (!isUnchanged()) {
        return {Outcome::DONE, FILES_CODE_CHANGED, ""};
    }
    Outcome outcome = query();
    if (outcome.what == Outcome::GOOD && m_task.url.empty()) {
        outcome = sendMissing();
        if (outcome.what == Outcome::GOOD) {
            outcome = merge();
        }
    }
    if (outcome.what == Outcome::GOOD) {
        return {Outcome::DONE, 0, describe(m_task)};
    }
    return outcome.what == Outcome::STOPPED || isUnchanged() ? outcome
                                                             : Outcome{Outcome::DONE, FILES_CODE_CHANGED, ""};
}

bool Upload::isUnchanged() const {
    FileTask now = m_task;
    return readFacts(now) && now.size == m_task.size && now.modified == m_task.modified;
}

Outcome Upload::query() {
    const FileService::Reply reply =
        m_service.ask(URL_FILE_CHUNK_QUERY, JsonObject().add(FIELD_CHUNK_UUID, m_uuid), kSecondsToAsk);
    if (reply.code != 0) {
        return judge(reply, m_transfers);
    }
    m_task.url = textOf(reply.data, FIELD_FILE_ID);
    std::set<std::pair<int64, int64>> there;
    if (reply.data.HasMember(PARA_CHUNK_INFO) && reply.data[PARA_CHUNK_INFO].IsArray()) {
        for (const auto& chunk : reply.data[PARA_CHUNK_INFO].GetArray()) {
            there.emplace(longOf(chunk, FIELD_CHUNK_OFFSET_LEFT, -1),
                          longOf(chunk, FIELD_CHUNK_OFFSET_RIGTH, -1));
        }
    }
    for (int64 left = 0; left < m_task.size; left += m_task.chunkSize) {
        const int64 right = std::min(left + m_task.chunkSize, m_task.size);
        if (there.count({left, right}) == 0) {
            m_missing.push_back({left / m_task.chunkSize, left, right});
        }
    }
    return {};
}

Outcome Upload::sendMissing() {
    int64 rest = 0;
    for (const Slice& slice : m_missing) {
        rest += slice.right - slice.left;
    }
    Progress progress(m_tell, "sending", m_task.size - rest, m_task.size);
    std::vector<std::thread> threads;
    const auto count = std::min(static_cast<std::size_t>(m_parallel), m_missing.size());
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&] { sendInTurn(progress); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    progress.tell();  // slices that broke off have to be sent anew
    return m_outcome;
}

void Upload::sendInTurn(Progress& progress) {
    while (true) {
        std::size_t mine = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_outcome.what != Outcome::GOOD || m_next == m_missing.size()) {
                return;
            }
            mine = m_next++;
        }
        const Outcome outcome = send(m_missing[mine], progress);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_outcome.what == Outcome::GOOD) {
            m_outcome = outcome;
        }
    }
}

Outcome Upload::send(const Slice& slice, Progress& progress) {
    const int64 length = slice.right - slice.left;
    JsonObject params;
    params.add(FIELD_CHUNK_UUID, m_uuid)
        .add(FIELD_CHUNK_SEQ, slice.sequence)
        .add(FIELD_CHUNK_OFFSET_LEFT, slice.left)
        .add(FIELD_CHUNK_OFFSET_RIGTH, slice.right)
        .add(FIELD_CHUNK_LENGTH, length);
    HttpClient client;
    if (!m_service.prepare(client, URL_FILE_CHUNK_UPLOAD, params)) {
        return judge({FileService::kNotSent, {}}, m_transfers);
    }
    int64 told = 0;
    client.setProgressCallback([&](int percent) {
        progress.add(length * percent / 100 - told);
        told = length * percent / 100;
    });
    long status = 0;
    const int code =
        setSlice(client, m_task.path, slice.left, slice.right) ? m_transfers.run(client, &status) : -1;
    const FileService::Reply reply = code == 0 ? m_service.replyOf(client) : FileService::Reply{code, {}};
    progress.add(reply.code == 0 ? length - told : -told);
    return reply.code == 0 ? Outcome() : judge(reply, m_transfers);
}

Outcome Upload::merge() {
    const Progress checking(m_tell, "checking", 0, 0);
    const FileService::Reply reply =
        m_service.ask(URL_FILE_CHUNK_MERGE,
                      JsonObject()
                          .add(FIELD_CHUNK_UUID, m_uuid)
                          .add(FIELD_FILE_NAME, m_task.path.substr(m_task.path.find_last_of("/\\") + 1))
                          .add(FIELD_FILE_SIZE, m_task.size)
                          .add(FIELD_DIGEST, m_task.digest),
                      secondsToMerge(m_task.size));
    if (reply.code == 0) {
        m_task.url = textOf(reply.data, FIELD_FILE_ID);
        return {};
    }
    if (reply.code == kPlatformOtherDigest || reply.code == kPlatformChunksMissing) {
        m_service.ask(URL_FILE_CHUNK_DELETE, JsonObject().add(FIELD_CHUNK_UUID, m_uuid), kSecondsToAsk);
        return {Outcome::AGAIN, FILES_CODE_DIGEST, ""};
    }
    return judge(reply, m_transfers);
}

}  // namespace files
