#ifndef VLOXLIB_HTTP_CLIENTSTATE_H
#define VLOXLIB_HTTP_CLIENTSTATE_H

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "vloxlib/Types.h"
#include "vloxlib/http/CurlExchange.h"
#include "vloxlib/http/ExchangeRecords.h"
#include "vloxlib/http/FileExchange.h"
#include "vloxlib/http/FileParam.h"
#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/http/TlsSettings.h"

namespace vloxlib {

/// @brief What stands behind an HttpClient: what its caller set and what the exchange brought, with the way
/// from the one to the other.
struct ClientState {
    using Fields = std::map<std::string, std::string>;
    static constexpr int64 kDefaultReplyLimit = 64 << 20;  // bytes

    /// @brief Takes the place of a download that was set before, and of its range.
    /// @return 0, or -201 for an empty path
    int setDownload(std::shared_ptr<DownloadFileParm> download);

    /// @brief Makes libcurl's handle and the request's head. Copies go on sharing what they had.
    void prepare(const QosParams& limits);

    /// @brief Finds out where the URL's host is to be reached, within the limits of the exchange that begins.
    void lookUp();

    /// @brief Takes the header of a download that is set no longer out again, unless the caller has replaced
    /// it.
    void dropOwnRange();

    /// @name The request as it is set, run as this method
    /// @{
    int runQuery(HTTPMethod asMethod, long* httpCode);
    int runForm(long* httpCode);
    int runUpload(HTTPMethod asMethod, long* httpCode);
    int runDownload(HTTPMethod asMethod, long* httpCode);
    /// @}

    HTTPMethod method = HTTP_METHOD_GET;
    std::string url;
    Fields fields;
    Fields header;
    TlsChoice tls;
    std::string actionId;
    std::function<void(int)> progressCallback;
    std::function<void(int, int)> resultCallback;

    int64 replyLimit = kDefaultReplyLimit;

    int postMode = 0;
    bool isFileOperate = false;
    FileOperateType fileType = FILE_OPERATE_NONE;
    std::shared_ptr<FileParam> fileParam;
    std::string ownRange;  // the "Range" header of the download that is set
    int uploadProgress = 0;
    int downloadProgress = 0;

    std::shared_ptr<CurlExchange> exchange;
    HeaderLines headerLines;
    PinnedHost pinned;

    ExchangeOutcome outcome;
    std::string resultData;
    Fields resultHeader;
    __int64 contentRange = 0;

private:
    ExchangeRequest request(HTTPMethod asMethod) const;
    int perform(const ExchangeRequest& request, long* httpCode);
    PercentReport percents(int& last);
    int take(FileResult result, long* httpCode);
    void take(ExchangeReply& reply, long* httpCode);
    int logged(int code) const;
    template <class Param>
    Param* fileParamFor(FileOperateType type) const;
};

}  // namespace vloxlib

#endif
