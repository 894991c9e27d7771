#ifndef VLOXLIB_HTTP_PLAINDOWNLOAD_H
#define VLOXLIB_HTTP_PLAINDOWNLOAD_H

#include "vloxlib/http/DownloadSink.h"
#include "vloxlib/http/FileParam.h"
#include "vloxlib/http/OpenFile.h"

namespace vloxlib {

/// @brief A file that is opened, and emptied unless it is continued, before there is a reply; what comes with
/// status 200 or 206 goes into it.
class PlainDownload : public DownloadSink {
public:
    explicit PlainDownload(const DownloadFileParm& param);

    void ask(HeaderLines&) const override {}  // the caller's headers name the range
    bool wants(const ExchangeReply& reply) const override;
    bool take(const char* bytes, std::size_t count, const ExchangeReply& reply) override;
    int judge(ExchangeReply& reply, std::optional<std::string>& text) override;

private:
    int takeFailure(ExchangeReply& reply, std::optional<std::string>& text) const;

    const DownloadFileParm& m_param;
    OpenFile m_file;
};

}  // namespace vloxlib

#endif
