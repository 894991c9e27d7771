#ifndef DEVSERVER_OTHERZONE_H
#define DEVSERVER_OTHERZONE_H

#include <string>

#include <rapidjson/document.h>

namespace devserver {

constexpr int kWireOtherZone = 10016;  ///< the reply says where to ask instead

/// A second server that clients can be sent to, with keys of its own. Immutable, for any number of threads.
class OtherZone {
public:
    /// @param file holds the first line of the second server's output
    /// Throws std::runtime_error.
    explicit OtherZone(const std::string& file);

    /// What a client needs to go there, as JSON.
    /// @param algorithm how it shall wrap its session key there: 0 not at all, 2 SM2, 4 SM9
    /// @param overTls   tells of its address for TLS too, where it has one: a client prefers that
    std::string invitation(int algorithm, bool overTls) const;

private:
    rapidjson::Document m_line;
};

}  // namespace devserver

#endif
