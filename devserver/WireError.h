#ifndef DEVSERVER_WIREERROR_H
#define DEVSERVER_WIREERROR_H

#include <stdexcept>
#include <string>

namespace devserver {

constexpr int kWireBadRequest = 10001;    ///< fields, header or parameters are not what they should be
constexpr int kWireBadSession = 10008;    ///< the session key can't be had, or doesn't fit the content
constexpr int kWireBadAlgorithm = 10009;  ///< a way of encrypting that the platform doesn't know

// The services of files; this family reaches a client's caller as it is.
constexpr int kWireNoFile = 15001;         ///< no file has that id
constexpr int kWireChunksMissing = 15002;  ///< the chunks don't make up the file
constexpr int kWireOtherDigest = 15003;    ///< what arrived isn't what was announced
constexpr int kWireNoRoom = 15004;         ///< the platform can't store it

/// A request that breaks the wire format: the wire code that the client gets, and why.
class WireError : public std::runtime_error {
public:
    WireError(int code, const std::string& why) : std::runtime_error(why), m_code(code) {}
    int code() const { return m_code; }

private:
    int m_code;
};

}  // namespace devserver

#endif
