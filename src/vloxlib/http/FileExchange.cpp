#include "vloxlib/http/FileExchange.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/CarefulDownload.h"
#include "vloxlib/http/FileSource.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/PlainDownload.h"

namespace vloxlib {

namespace {

std::string bareName(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

// Any total and any start that a server may name.
int percentOf(int64 done, int64 total) {
    if (total <= 0) {
        return 0;
    }
    constexpr int64 safe = std::numeric_limits<int64>::max() / 100;
    const int64 percent = done <= safe ? done * 100 / total : total >= 100 ? done / (total / 100) : 100;
    return static_cast<int>(std::clamp(percent, int64{0}, int64{100}));
}

int64 withStart(int64 value, int64 start) {
    return value > std::numeric_limits<int64>::max() - start ? std::numeric_limits<int64>::max()
                                                             : value + start;
}

void report(int percent, const PercentReport& percents, const ExchangeReply& reply) {
    if (percent <= 99 && percent > percents.last) {
        percents.tell(percent, reply);
        percents.last = percent;
    }
}

std::unique_ptr<DownloadSink> sinkFor(const DownloadFileParm& file) {
    if (file.m_careful) {
        return std::make_unique<CarefulDownload>(file.m_filePath);
    }
    return std::make_unique<PlainDownload>(file);
}

}  // namespace

FileResult uploadFile(CurlExchange& exchange, ExchangeRequest request, UploadFileParm& file,
                      PercentReport percents, int stallLimit) {
    FileSource source(file);
    if (!source.isOpen()) {
        return {native::kUnknown, std::nullopt, std::nullopt};
    }
    request.source = &source;
    request.partName = file.m_key;
    request.fileName = bareName(file.m_filePath);
    request.cancelled = &file.m_cancel;
    request.stallLimit = stallLimit;
    const bool asForm = request.method == HTTP_METHOD_POST;
    if (asForm) {
        request.progress = [&](const TransferProgress& progress, const ExchangeReply& reply) {
            report(percentOf(progress.uploaded, progress.uploadTotal), percents, reply);
        };
    }
    FileResult result{0, exchange.run(request), std::nullopt};
    if (result.reply->thrown) {
        return result;
    }
    result.code = resultOf(*result.reply);
    if (result.code == 0) {
        result.text = textOf(*result.reply);
    }
    if (asForm && file.m_cancel) {
        result.code = native::kCancelled;
    }
    return result;
}

FileResult downloadFile(CurlExchange& exchange, ExchangeRequest request, const DownloadFileParm& file,
                        PercentReport percents, int stallLimit) {
    const std::unique_ptr<DownloadSink> sink = sinkFor(file);
    int64 start = 0;  // a resumed download reports over the whole file
    sink->ask(request.headers);
    request.sink = sink.get();
    request.cancelled = &file.m_cancel;
    request.stallLimit = stallLimit;
    request.progress = [&](const TransferProgress& progress, const ExchangeReply& reply) {
        start = start != 0 ? start : startOfContentRange(reply.headers.last("Content-Range"));
        report(percentOf(withStart(progress.downloaded, start), withStart(progress.downloadTotal, start)),
               percents, reply);
    };
    FileResult result{0, exchange.run(request), std::nullopt};
    if (result.reply->thrown) {
        return result;
    }
    result.code = sink->judge(*result.reply, result.text);
    const bool whole = result.reply->outcome.curlCode == 0;
    if (file.m_cancel && (result.code == 0 || !whole)) {
        result.code = native::kCancelled;
    }
    return result;
}

}  // namespace vloxlib
