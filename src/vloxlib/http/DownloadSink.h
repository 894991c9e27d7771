#ifndef VLOXLIB_HTTP_DOWNLOADSINK_H
#define VLOXLIB_HTTP_DOWNLOADSINK_H

#include <vloxlib/Noncopyable.h>

#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// @brief Where a download's body goes, and what the end of its exchange means.
class DownloadSink : public BodySink, private Noncopyable {
public:
    /// @brief What the request has to say beside the caller's headers, by what is there already.
    virtual void ask(HeaderLines& headers) const = 0;
    /// @brief Closes the file. To be called once, when the exchange is over.
    /// @param text receives a failure's JSON text that came in place of the file
    /// @return the code of the download, unless it was cancelled
    virtual int judge(ExchangeReply& reply, std::optional<std::string>& text) = 0;
};

/// @brief Whether a reply's body is the file or a part of it, by its status.
bool isFileStatus(long status);
/// @brief Whether a reply's body is a failure's JSON text.
bool isFailureText(const ReplyHeaders& reply);
/// @brief Whether a reply says that nothing is there from the offset on, as that is where the file ends.
bool endsAt(const ReplyHeaders& reply, int64 offset);
/// @brief The native code that a failure's JSON text names.
int codeOfFailure(const std::string& text);

}  // namespace vloxlib

#endif
