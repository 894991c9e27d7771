#ifndef DEVSERVER_FILEREQUEST_H
#define DEVSERVER_FILEREQUEST_H

#include <Poco/Net/MultipartReader.h>

#include <map>
#include <memory>
#include <string>

#include "Http.h"

namespace devserver {

/// A request to a service of files: its fields, and the file behind them, which is read as it comes. The
/// fields stand in the query, in a form, or in a form of several parts ahead of the file.
class FileRequest {
public:
    /// Reads as far as the file's first byte. Throws WireError. Borrows the request.
    explicit FileRequest(const HttpRequest& request);

    const std::map<std::string, std::string>& fields() const { return m_fields; }
    /// Null: the request brings no file.
    std::istream* file() const { return m_file; }
    const std::string& fileName() const { return m_fileName; }
    /// To be called behind the file's last byte. Throws WireError when the request has broken off.
    /// @param fileSize how many bytes the file had
    void finish(std::uint64_t fileSize);

private:
    void readParts(std::istream& body, const std::string& boundary);
    void readFields(const std::string& text);

    std::map<std::string, std::string> m_fields;
    std::unique_ptr<Poco::Net::MultipartReader> m_parts;
    std::istream* m_file = nullptr;
    std::string m_fileName;
    std::string m_announced;  // the length of a body that is nothing but the file
};

}  // namespace devserver

#endif
