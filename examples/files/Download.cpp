#include "Download.h"

#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/utility/FileUtil.h>

#include <utility>

#include "Digest.h"
#include "Files.h"
#include "Verdict.h"

namespace files {

using common::JsonObject;
using vloxlib::FileUtil;
using vloxlib::HttpClient;

namespace {

constexpr long kWholeFile = 200;
constexpr long kNothingOfTheRange = 416;
constexpr int kAppend = 1;
constexpr int kStartAnew = 0;

}  // namespace

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
    int64 offset = partialSize();
    if (offset > m_task.size) {
        FileUtil::remove(m_partial);
        offset = 0;
    }
    const Outcome outcome = offset < m_task.size ? fetch(offset) : Outcome();
    return outcome.what == Outcome::GOOD ? compare() : outcome;
}

int64 Download::partialSize() const {
    return FileUtil::isExist(m_partial) == 0 ? FileUtil::getLocalFileLenth(m_partial) : 0;
}

Outcome Download::fetch(int64 offset) {
    Progress progress(m_tell, "fetching", offset, m_task.size);
    JsonObject params;
    params.add(FIELD_FILE_ID, m_task.url);
    HttpClient client;
    if (!m_service.prepare(client, URL_FILE_DOWNLOAD, params)) {
        return judge({FileService::kNotSent, {}}, m_transfers);
    }
    // setDownloadFile() takes `long`, which has 32 bits on some systems; a header that is there stays.
    client.addHeader("Range", "bytes=" + std::to_string(offset) + "-");
    client.setDownloadFile(m_partial, offset > 0 ? kAppend : kStartAnew, static_cast<long>(offset));
    int64 told = offset;
    client.setProgressCallback([&](int percent) {
        if (client.getContentRange() != offset) {  // the whole file comes, behind what is there already
            client.httpCancel();
            return;
        }
        const int64 done = m_task.size / 100 * percent;
        progress.add(done > told ? done - told : 0);
        told = done > told ? done : told;
    });
    long status = 0;
    const int code = m_transfers.run(client, &status);
    if (code == 0) {
        progress.add(partialSize() - told);
    }
    FileService::Reply reply{code, {}};
    if (code != 0 && !client.getResultData().empty()) {
        reply.data = common::parseJson(client.getResultData());
    }
    return judgeFetch(reply, offset, status);
}

Outcome Download::judgeFetch(const FileService::Reply& reply, int64 offset, long status) const {
    if (m_transfers.stopped()) {
        return {Outcome::STOPPED, reply.code, ""};
    }
    if ((status == kWholeFile && offset > 0 && reply.code <= 0) || status == kNothingOfTheRange) {
        return startAnew(reply.code);
    }
    if (reply.code == 0) {
        return partialSize() < m_task.size ? startAnew(FILES_CODE_DIGEST) : Outcome();
    }
    return judge(reply, m_transfers);
}

Outcome Download::startAnew(int code) const {
    FileUtil::remove(m_partial);
    return {Outcome::AGAIN, code != 0 ? code : FILES_CODE_DIGEST, ""};
}

Outcome Download::compare() {
    {
        Progress progress(m_tell, "comparing", 0, m_task.size);
        const std::string digest = digestOf(m_partial, m_transfers, progress);
        if (m_transfers.stopped()) {
            return {Outcome::STOPPED, 0, ""};
        }
        if (digest != m_task.digest) {
            return startAnew(FILES_CODE_DIGEST);
        }
    }
    FileUtil::remove(m_task.path);
    if (FileUtil::rename(m_partial, m_task.path) != 0) {
        return {Outcome::DONE, FILES_CODE_TARGET, ""};
    }
    return {Outcome::DONE, 0, describe(m_task)};
}

}  // namespace files
