#ifndef VLOXLIB_HTTP_CAREFULDOWNLOAD_H
#define VLOXLIB_HTTP_CAREFULDOWNLOAD_H

#include "vloxlib/http/DownloadSink.h"
#include "vloxlib/http/FileVersion.h"
#include "vloxlib/http/OpenFile.h"

namespace vloxlib {

/// @brief A part that an earlier careful download has left.
struct KeptPart {
    FileVersion version;
    int64 length = 0;  ///< in bytes; 0 where there is nothing to go on with
};
KeptPart keptPart(const std::string& path);

/// @brief A file that is touched when the server's file begins, and not before; that goes on with a part of
/// the very same file and no other; and that counts as good when all of it has come.
///
/// The version of the server's file stands beside a part. Where the server's reply doesn't fit the part, the
/// version is removed, so that the next download starts anew.
class CarefulDownload : public DownloadSink {
public:
    explicit CarefulDownload(const std::string& path);

    void ask(HeaderLines& headers) const override;
    bool wants(const ExchangeReply& reply) const override;
    bool take(const char* bytes, std::size_t count, const ExchangeReply& reply) override;
    int judge(ExchangeReply& reply, std::optional<std::string>& text) override;

private:
    bool begin(const ReplyHeaders& reply);
    bool fits(const ReplyHeaders& reply);
    bool fitsAsPart(const ReplyHeaders& reply);
    bool openFile();
    bool refuse(const char* reason);
    void endWithoutBody(const ExchangeReply& reply);
    int refused(ExchangeReply& reply) const;
    int judgeFile(ExchangeReply& reply);

    const std::string m_path;
    const KeptPart m_kept;
    int64 m_length = -1;   // of the whole file; -1 where only libcurl can tell its end
    int64 m_missing = -1;  // bytes that this reply has still to bring
    bool m_begun = false;
    bool m_openFailed = false;
    const char* m_refusal = nullptr;
    OpenFile m_file;
};

}  // namespace vloxlib

#endif
