#ifndef VLOXLIB_HTTP_FILESOURCE_H
#define VLOXLIB_HTTP_FILESOURCE_H

#include <vloxlib/Noncopyable.h>

#include "vloxlib/http/ExchangeRecords.h"
#include "vloxlib/http/FileParam.h"
#include "vloxlib/http/OpenFile.h"

namespace vloxlib {

/// @brief The file of an upload, or a slice of it, open for as long as this lives.
///
/// What is announced at the start is what goes out, however the file grows meanwhile; one that shrinks ends
/// the exchange, as the server would wait for the rest.
class FileSource : public BodySource, private Noncopyable {
public:
    explicit FileSource(UploadFileParm& param);
    ~FileSource() override;

    bool isOpen() const { return m_file != nullptr; }
    int64 length() const override { return m_length; }
    std::optional<std::size_t> give(char* buffer, std::size_t room) override;
    bool goTo(int64 offset) override;

private:
    void noteSent(int64 sent);

    UploadFileParm& m_param;
    OpenFile m_file;
    int64 m_start = 0;  // of what goes out, in the file
    int64 m_length = 0;
    int64 m_sent = 0;
};

}  // namespace vloxlib

#endif
