#include "vloxlib/http/ClientState.h"

#include <chrono>
#include <utility>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/AsciiHost.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/PinnedAddress.h"
#include "vloxlib/http/RequestFields.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

template <class Param>
Param* ClientState::fileParamFor(FileOperateType type) const {
    return fileType == type ? static_cast<Param*>(fileParam.get()) : nullptr;
}

// A range that the caller has set stays; a careful download sees to its own.
int ClientState::setDownload(std::shared_ptr<DownloadFileParm> download) {
    if (download->m_filePath.empty()) {
        VLOX_LOG(3, "fileAbsoulutePath=%s", download->m_filePath.c_str());
        return native::kInvalidArgument;
    }
    dropOwnRange();
    std::string range = "bytes=" + std::to_string(download->m_offset) + "-";
    if (download->m_careful) {
        header.erase("Range");
    } else if (header.emplace("Range", range).second) {
        ownRange = std::move(range);
    }
    fileParam = std::move(download);
    isFileOperate = true;
    fileType = FILE_OPERATE_DOWNLOAD;
    return 0;
}

void ClientState::prepare(const QosParams& limits) {
    TlsSettings settings = TlsSettings::of(tls);
    if (!exchange || !exchange->fits(settings)) {
        exchange = std::make_shared<CurlExchange>(std::move(settings));
    }
    exchange->prepare(limits);
    headerLines.reset();
    for (const auto& [key, value] : header) {
        appendLine(headerLines, key + ": " + value);
    }
}

void ClientState::lookUp() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    ResolvePatience patience;
    patience.until = begin + exchange->connectLimit();
    if (fileParam) {
        patience.givenUp = [this] { return fileParam->m_cancel.load(); };
    }
    pinned = pinnedHostOf(withAsciiHost(url), patience);
    exchange->spend(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin));
}

void ClientState::dropOwnRange() {
    const auto range = header.find("Range");
    if (!ownRange.empty() && range != header.end() && range->second == ownRange) {
        header.erase(range);
    }
    ownRange.clear();
}

// A form's fields go into its body, all others' into the query.
ExchangeRequest ClientState::request(HTTPMethod asMethod) const {
    ExchangeRequest request;
    request.method = asMethod;
    request.url = withAsciiHost(asMethod == HTTP_METHOD_POST ? url : urlWithFields(url, fields));
    request.headers = headerLines;
    request.pinned = &pinned;
    request.replyLimit = replyLimit;
    return request;
}

int ClientState::runQuery(HTTPMethod asMethod, long* httpCode) {
    return perform(request(asMethod), httpCode);
}

int ClientState::runForm(long* httpCode) {
    ExchangeRequest form = request(HTTP_METHOD_POST);
    form.form = joinedFields(fields);
    return perform(form, httpCode);
}

int ClientState::perform(const ExchangeRequest& request, long* httpCode) {
    ExchangeReply reply = exchange ? exchange->run(request) : unprepared();
    take(reply, httpCode);
    const int code = resultOf(reply);
    if (code == 0) {
        resultData = textOf(reply);
    }
    return logged(code);
}

int ClientState::runUpload(HTTPMethod asMethod, long* httpCode) {
    auto* const param = fileParamFor<UploadFileParm>(FILE_OPERATE_UPLOAD);
    if (!param) {
        VLOX_LOG(3, "no file to upload");
        return native::kInvalidArgument;
    }
    if (!exchange) {
        return native::kUnknown;
    }
    ExchangeRequest upload = request(asMethod);
    upload.parts = &fields;
    return take(uploadFile(*exchange, std::move(upload), *param, percents(uploadProgress)), httpCode);
}

int ClientState::runDownload(HTTPMethod asMethod, long* httpCode) {
    const auto* const param = fileParamFor<DownloadFileParm>(FILE_OPERATE_DOWNLOAD);
    if (!param) {
        VLOX_LOG(3, "no file to download to");
        return native::kInvalidArgument;
    }
    if (!exchange) {
        return native::kUnknown;
    }
    ExchangeRequest download = request(asMethod);
    if (asMethod == HTTP_METHOD_POST) {
        download.form = joinedFields(fields);
    }
    return take(downloadFile(*exchange, std::move(download), *param, percents(downloadProgress)), httpCode);
}

// The caller's function may look at the headers that have come.
PercentReport ClientState::percents(int& last) {
    return {[this](int percent, const ExchangeReply& reply) {
                resultHeader.insert(reply.headers.all.begin(), reply.headers.all.end());
                const auto* const download = fileParamFor<DownloadFileParm>(FILE_OPERATE_DOWNLOAD);
                if (progressCallback || !download || !download->m_careful) {
                    progressCallback(percent);
                }
            },
            last};
}

int ClientState::take(FileResult result, long* httpCode) {
    if (result.reply) {
        take(*result.reply, httpCode);
    }
    if (result.text) {
        resultData = std::move(*result.text);
    }
    return result.reply ? logged(result.code) : result.code;
}

int ClientState::logged(int code) const {
    if (code != 0) {
        VLOX_LOG(3, "exchange failed. code=%d,status=%ld,address=%s,curl=%d (%s),verify=%ld (%s)", code,
                 outcome.status, outcome.address.c_str(), outcome.curlCode, outcome.curlText.c_str(),
                 outcome.verifyResult, outcome.verifyText.c_str());
    }
    return code;
}

// What a function of the caller's threw goes on from here, where libcurl has ended.
void ClientState::take(ExchangeReply& reply, long* httpCode) {
    outcome = std::move(reply.outcome);
    resultHeader.merge(reply.headers.all);
    if (httpCode) {
        *httpCode = outcome.status;
    }
    if (reply.thrown) {
        std::rethrow_exception(std::exchange(reply.thrown, nullptr));
    }
}

}  // namespace vloxlib
