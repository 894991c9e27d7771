#ifndef DEVSERVER_HTTP_H
#define DEVSERVER_HTTP_H

#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace devserver {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// A request as it arrived, before anything is made of it.
struct HttpRequest {
    std::string method;
    std::string path;   ///< undecoded, from the first "/" on, without the query
    std::string query;  ///< undecoded
    Fields headers;
    std::string body;
    std::string serverHost;  ///< the address that it came to, of those the server has
    unsigned short serverPort = 0;
};

struct HttpReply {
    int status = 200;
    std::string contentType = "application/json; charset=utf-8";
    Fields headers;
    std::string body;
    /// So many bytes of the body go out, under the full length, and then the connection ends.
    std::size_t cutAfter = std::numeric_limits<std::size_t>::max();
};

}  // namespace devserver

#endif
