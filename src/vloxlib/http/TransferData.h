/// @file
/// @brief The two ends of a transfer: where a reply's body goes and where a request's body comes from.
#ifndef VLOXLIB_HTTP_TRANSFERDATA_H
#define VLOXLIB_HTTP_TRANSFERDATA_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/http/OpenFile.h>
#include <memory>
#include <string>

namespace vloxlib {

class HttpClient;

/// What stands behind a transfer's end.
enum DataType : int {
    DATA_TYPE_STRING = 0,  ///< a text in memory
    DATA_TYPE_FILE = 1,    ///< an open file
    DATA_TYPE_PRIVATE = 2  ///< nothing: no callback fills or drains it
};

/// @brief A text in memory or an open file, released with its holder.
///
/// Threads: one. Errors: a file that doesn't open leaves getData() null.
class VLOX_API TransferData : public Noncopyable {
public:
    /// Releases the text or closes the file; getData() is null from then on.
    void clearData();
    /// A std::string or a FILE, by getType(); null when there is none.
    void* getData() const;
    DataType getType() const { return m_type; }
    HttpClient* getHttpClient() const { return m_httpClient; }
    /// The client isn't owned and has to outlive the transfer.
    void setHttpClient(HttpClient* client) { m_httpClient = client; }

protected:
    TransferData(DataType type, HttpClient* client);

    void holdText(std::string text);
    void holdFile(const char* path, const char* mode);

private:
    DataType m_type;
    std::unique_ptr<std::string> m_text;
    OpenFile m_file;
    HttpClient* m_httpClient;
};

/// @brief The sink of a transfer. The DataType arguments are ignored: the other arguments decide.
class VLOX_API ReceivedData : public TransferData {
public:
    /// A text in memory with room for `capacity` bytes; it grows as needed.
    ReceivedData(int capacity, DataType ignored);
    /// A private container.
    ReceivedData(HttpClient* client, DataType ignored);
    /// The file at `path`: continued when the client's download asks for that, otherwise started anew.
    ReceivedData(const char* path, HttpClient* client, DataType ignored);
    /// The file at `path`, started anew.
    ReceivedData(const char* path, DataType ignored);
    /// A private container.
    explicit ReceivedData(DataType ignored);
};

/// @brief The source of a transfer. The DataType arguments are ignored: the other arguments decide.
class VLOX_API SendData : public TransferData {
public:
    /// A copy of the text.
    SendData(const std::string& text, DataType ignored);
    /// The file at `path`, open for reading.
    SendData(const char* path, HttpClient* client, DataType ignored);
};

}  // namespace vloxlib

#endif
