#ifndef DEVSERVER_FILEREQUEST_H
#define DEVSERVER_FILEREQUEST_H

#include <map>
#include <memory>
#include <string>

#include "FormParts.h"
#include "Http.h"

namespace devserver {

/// A request to a service of files: its fields, and the file behind them, which is read as it comes. The
/// fields stand in the query, in a form, or in a form of several parts ahead of the file.
class FileRequest {
public:
    /// Reads as far as the file's first byte. Throws WireError. Borrows the request.
    explicit FileRequest(const HttpRequest& request);

    const std::map<std::string, std::string>& fields() const { return m_fields; }
    bool hasFile() const { return m_parts || m_file != nullptr; }
    const std::string& fileName() const { return m_fileName; }
    /// The file's next bytes; 0 behind the last one. Throws WireError when the request has broken off, or
    /// goes on behind the file.
    std::size_t read(char* buffer, std::size_t room);

private:
    void readParts(std::istream& body, const std::string& boundary);
    void readFields(const std::string& text);

    std::map<std::string, std::string> m_fields;
    std::unique_ptr<FormParts> m_parts;  // stands at the file; null where the body is nothing but the file
    std::istream* m_file = nullptr;      // the body then
    std::string m_announced;             // its length
    std::uint64_t m_read = 0;
    std::string m_fileName;
};

}  // namespace devserver

#endif
