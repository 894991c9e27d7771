#ifndef DEVSERVER_TESTAUTHORITY_H
#define DEVSERVER_TESTAUTHORITY_H

#include <string>

namespace devserver {

/// Files for trying TLS, as PEM: an authority, servers' certificates by it that are right and wrong in one
/// way each, a client's, and another authority. Immutable, for any number of threads.
///
///     authority.pem, authority.key    what clients are to trust, and what it signs with
///     unknown-authority.pem, ...key   what they are not to trust
///     server.pem, server-wrong-host.pem, server-expired.pem, server-not-yet-valid.pem,
///     server-unknown-authority.pem    certificate and key of a server in one file
///     client.pem                      the same of a client, the key under kClientKeyPassword
class TestAuthority {
public:
    static constexpr const char* kClientKeyPassword = "vlox-client";

    /// @param directory where the files are kept, all made there by the first start
    /// Throws std::runtime_error.
    explicit TestAuthority(std::string directory);

    const std::string& directory() const { return m_directory; }
    std::string file(const std::string& name) const;
    std::string authorityFile() const { return file("authority.pem"); }
    std::string clientFile() const { return file("client.pem"); }

private:
    std::string m_directory;
};

}  // namespace devserver

#endif
