#ifndef DEVSERVER_HTTP_H
#define DEVSERVER_HTTP_H

#include <cstdint>
#include <functional>
#include <istream>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace devserver {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// Where the server answers; without TLS both are the same.
struct Ports {
    unsigned short plain = 0;
    unsigned short tls = 0;
};

/// A request as it arrived, before anything is made of it.
struct HttpRequest {
    std::string method;
    std::string path;   ///< undecoded, from the first "/" on, without the query
    std::string query;  ///< undecoded
    Fields headers;
    std::string body;
    std::istream* stream = nullptr;  ///< instead of the body, for services of files; null: there is none
    std::string serverHost;          ///< the address that it came to, of those the server has
    Ports serverPorts;
    bool overTls = false;
};

/// A body that is made while it goes out.
struct StreamedBody {
    std::uint64_t length = 0;
    /// Fills the buffer, or a part of it; 0: nothing more comes.
    std::function<std::size_t(char* buffer, std::size_t room)> read;
};

struct HttpReply {
    int status = 200;
    std::string contentType = "application/json;charset=utf-8";  // clients compare it letter by letter
    Fields headers;
    std::string body;
    std::optional<StreamedBody> stream;  ///< instead of the body
    /// So many bytes of the body go out, under the full length, and then the connection ends.
    std::uint64_t cutAfter = std::numeric_limits<std::uint64_t>::max();
    bool hangUp = false;  ///< the connection ends without a reply
};

}  // namespace devserver

#endif
