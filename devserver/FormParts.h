#ifndef DEVSERVER_FORMPARTS_H
#define DEVSERVER_FORMPARTS_H

#include <Poco/Net/MessageHeader.h>

#include <istream>
#include <string>

namespace devserver {

/// The parts of a form of several parts, one after the other, each byte by byte as it was sent; the reader of
/// POCO adds one to a part that ends like the beginning of a boundary.
/// Throws WireError where the form breaks off. Not for several threads at once.
class FormParts {
public:
    /// Borrows the body.
    FormParts(std::istream& body, const std::string& boundary);

    /// Goes on to the next part, over what is left of this one. False: there is none.
    bool next(Poco::Net::MessageHeader& header);
    /// Fills the buffer, or a part of it; 0 behind the part's last byte.
    std::size_t read(char* buffer, std::size_t room);

private:
    void fill();
    std::size_t find(const std::string& text);

    std::istream& m_body;
    const std::string m_delimiter;
    std::string m_ahead = "\r\n";  // what has been read ahead; the first boundary has no line before it
};

}  // namespace devserver

#endif
