/// @file
/// @brief Exchanges that move a file: a body from it or into it, progress in percents, and what the end
/// means.
#ifndef VLOXLIB_HTTP_FILEEXCHANGE_H
#define VLOXLIB_HTTP_FILEEXCHANGE_H

#include <functional>
#include <optional>
#include <string>

#include "vloxlib/http/CurlExchange.h"
#include "vloxlib/http/ExchangeRecords.h"
#include "vloxlib/http/FileParam.h"

namespace vloxlib {

/// @brief Who hears whole percents, 0 to 99, with what has come of the reply, and the last one that was told,
/// above which the next one is.
struct PercentReport {
    std::function<void(int percent, const ExchangeReply& reply)> tell;
    int& last;
};

/// @brief How a file has fared. Without a reply the exchange didn't begin.
struct FileResult {
    int code;
    std::optional<ExchangeReply> reply;
    std::optional<std::string> text;  ///< what the caller gets to read, where there is something
};

constexpr int kStallLimit = 60;  ///< in seconds, after which a transfer below 10 bytes a second is dropped

/// @brief Sends a file or a slice of it as the last part of a POST's form, or as the body of a PUT.
FileResult uploadFile(CurlExchange& exchange, ExchangeRequest request, UploadFileParm& file,
                      PercentReport percents, int stallLimit = kStallLimit);

/// @brief Writes the reply's body into a file, carefully or not. A JSON failure in its place ends as its
/// code, with the text.
FileResult downloadFile(CurlExchange& exchange, ExchangeRequest request, const DownloadFileParm& file,
                        PercentReport percents, int stallLimit = kStallLimit);

}  // namespace vloxlib

#endif
