#include "FileWorker.h"

#include <common/Json.h>

#include <algorithm>

#include "Digest.h"
#include "Download.h"
#include "Upload.h"
#include "Verdict.h"

namespace files {

using common::JsonObject;

namespace {

constexpr int kMostDigestFailures = 2;

std::chrono::milliseconds pauseAfter(int attempt) {
    return std::chrono::milliseconds(std::min(100 << std::min(attempt, 6), 5000));
}

}  // namespace

FileWorker::FileWorker(__int64 clientId, FileQueue& queue, FileResults& results, int parallel,
                       int64 chunkSize, FilesListener listener, void* context)
    : m_queue(queue),
      m_results(results),
      m_service(clientId),
      m_parallel(parallel),
      m_chunkSize(chunkSize),
      m_listener(listener),
      m_context(context) {}

FileWorker::~FileWorker() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_condition.notify_all();
    }
    m_transfers.stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void FileWorker::start() {
    m_thread = std::thread([this] { work(); });
}

void FileWorker::add(const FileTask& wish) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_wishes.push_back(wish);
    m_condition.notify_all();
}

// Stored tasks come first: one of them may hold the digest of a file that is wished for anew.
void FileWorker::work() {
    while (!m_transfers.stopped()) {
        if (std::optional<FileTask> task = m_queue.next()) {
            workOn(*task);
        } else if (const std::optional<FileTask> wish = nextWish()) {
            store(*wish);
        }
    }
}

// Nothing: the worker is to stop.
std::optional<FileTask> FileWorker::nextWish() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_condition.wait(lock, [this] { return m_stopping || !m_wishes.empty(); });
    if (m_stopping) {
        return std::nullopt;
    }
    const FileTask wish = m_wishes.front();
    m_wishes.pop_front();
    return wish;
}

void FileWorker::store(FileTask wish) {
    if (wish.direction == FileTask::SEND) {
        Progress progress([&](const std::string& phase, int64 done,
                              int64 total) { tellProgress(wish.id, phase, done, total); },
                          "reading", 0, wish.size);
        wish.digest = digestOf(wish.path, m_transfers, progress);
        wish.chunkSize = m_chunkSize;
    }
    if (m_transfers.stopped()) {
        return;  // the next run begins with it anew
    }
    if (wish.digest.empty()) {
        refuse(wish.id, "it can't be read");
        return;
    }
    switch (m_queue.store(wish)) {
        case FileQueue::STORED:
            break;
        case FileQueue::SAME_CONTENT:
            refuse(wish.id, "a file of the same content is on its way already");
            break;
        case FileQueue::REFUSED:
            refuse(wish.id, "the store can't take it");
            break;
    }
}

void FileWorker::workOn(FileTask& task) {
    m_furthest = 0;
    int digestFailures = 0;
    for (int attempts = 1; !m_transfers.stopped(); ++attempts) {
        const int64 before = m_furthest;
        Outcome outcome = attempt(task);
        if (outcome.what == Outcome::STOPPED) {
            return;  // the task stays in the store
        }
        digestFailures += outcome.code == FILES_CODE_DIGEST ? 1 : 0;
        if (outcome.what != Outcome::AGAIN || digestFailures == kMostDigestFailures) {
            m_results.close(task.id, outcome.code, outcome.data);
            return;
        }
        attempts = m_furthest > before ? 1 : attempts;
        tell(FILES_RETRY,
             JsonObject().add("id", task.id).add("code", outcome.code).add("attempt", attempts).text());
        m_transfers.wait(pauseAfter(attempts));
    }
}

Outcome FileWorker::attempt(FileTask& task) {
    if (const int code = m_service.findServer()) {
        return {m_transfers.stopped() ? Outcome::STOPPED : Outcome::AGAIN, code, ""};
    }
    const auto tellOf = [&](const std::string& phase, int64 done, int64 total) {
        tellProgress(task.id, phase, done, total);
    };
    return task.direction == FileTask::SEND ? Upload(task, m_service, m_transfers, m_parallel, tellOf).run()
                                            : Download(task, m_service, m_transfers, tellOf).run();
}

void FileWorker::tellProgress(const std::string& id, const std::string& phase, int64 done, int64 total) {
    if (phase == "sending" || phase == "fetching") {
        m_furthest = std::max(m_furthest.load(), done);  // callers come one at a time
    }
    tell(FILES_PROGRESS,
         JsonObject().add("id", id).add("phase", phase).add("done", done).add("total", total).text());
}

void FileWorker::refuse(const std::string& id, const std::string& why) {
    tell(FILES_REFUSED, JsonObject().add("id", id).add("why", why).text());
}

}  // namespace files
