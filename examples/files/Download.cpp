#include "Download.h"

#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/http/FileParam.h>
#include <vloxlib/utility/FileUtil.h>

#include <utility>

#include "Digest.h"
#include "Files.h"
#include "Verdict.h"

namespace files {

using common::JsonObject;
using vloxlib::FileUtil;
using vloxlib::HttpClient;

Download::Download(const FileTask& task, const FileService& service, Transfers& transfers,
                   Progress::Tell tell)
    : m_task(task),
      m_service(service),
      m_transfers(transfers),
      m_tell(std::move(tell)),
      m_partial(task.path + ".part") {}

Outcome Download::run() {
    if (FileUtil::isExist(m_partial) != 0 && FileUtil::isExist(m_task.path) == 0) {
        Progress progress(m_tell, "comparing", 0, m_task.size);
        if (digestOf(m_task.path, m_transfers, progress) == m_task.digest) {
            return {Outcome::DONE, 0, describe(m_task)};  // put there just before its process ended
        }
    }
    if (partialSize() > m_task.size) {
        FileUtil::remove(m_partial);
    }
    const Outcome outcome = partialSize() < m_task.size ? fetch() : Outcome();
    return outcome.what == Outcome::GOOD ? compare() : outcome;
}

int64 Download::partialSize() const {
    return FileUtil::isExist(m_partial) == 0 ? FileUtil::getLocalFileLenth(m_partial) : 0;
}

// What an earlier attempt has left is gone on with where that can be known to be right.
Outcome Download::fetch() {
    JsonObject params;
    params.add(FIELD_FILE_ID, m_task.url);
    HttpClient client;
    if (!m_service.prepare(client, URL_FILE_DOWNLOAD, params)) {
        return judge({FileService::kNotSent, {}}, m_transfers);
    }
    client.setCarefulDownload(m_partial);
    int64 told = static_cast<vloxlib::DownloadFileParm*>(client.getFileParam())->m_offset;
    Progress progress(m_tell, "fetching", told, m_task.size);
    client.setProgressCallback([&](int percent) {
        const int64 done = m_task.size / 100 * percent;
        progress.add(done > told ? done - told : 0);
        told = done > told ? done : told;
    });
    const int code = m_transfers.run(client, nullptr);
    if (code == 0) {
        progress.add(partialSize() - told);
    }
    FileService::Reply reply{code, {}};
    if (code != 0 && !client.getResultData().empty()) {
        reply.data = common::parseJson(client.getResultData());
    }
    return judgeFetch(reply);
}

Outcome Download::judgeFetch(const FileService::Reply& reply) const {
    if (m_transfers.stopped()) {
        return {Outcome::STOPPED, reply.code, ""};
    }
    if (reply.code == 0) {
        return partialSize() < m_task.size ? startAnew() : Outcome();
    }
    return judge(reply, m_transfers);
}

Outcome Download::startAnew() const {
    FileUtil::remove(m_partial);
    return {Outcome::AGAIN, FILES_CODE_DIGEST, ""};
}

Outcome Download::compare() {
    {
        Progress progress(m_tell, "comparing", 0, m_task.size);
        const std::string digest = digestOf(m_partial, m_transfers, progress);
        if (m_transfers.stopped()) {
            return {Outcome::STOPPED, 0, ""};
        }
        if (digest != m_task.digest) {
            return startAnew();
        }
    }
    FileUtil::remove(m_partial + ".version");  // stays where a process ended just behind the last byte
    FileUtil::remove(m_task.path);
    if (FileUtil::rename(m_partial, m_task.path) != 0) {
        return {Outcome::DONE, FILES_CODE_TARGET, ""};
    }
    return {Outcome::DONE, 0, describe(m_task)};
}

}  // namespace files
