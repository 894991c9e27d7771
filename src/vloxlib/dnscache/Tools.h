#ifndef VLOXLIB_DNSCACHE_TOOLS_H
#define VLOXLIB_DNSCACHE_TOOLS_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// Where a URL leads.
struct HOSTPORT {
    std::string host;
    unsigned short port = 80;
};

class VLOX_API Tools {
public:
    /// Takes host and port out of a URL. A URL without a port gives its scheme's port, 0 for an unknown
    /// scheme.
    /// @return an empty host and port 80 for a text that is no URL, which is logged
    static HOSTPORT getHOSTPORT(const std::string& url);
};

}  // namespace vloxlib

#endif
