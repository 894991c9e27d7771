#ifndef DEVSERVER_SESSIONCIPHER_H
#define DEVSERVER_SESSIONCIPHER_H

#include <memory>
#include <string>

namespace devserver {

/// Turns the texts of one session into what travels and back. Immutable, for any number of threads.
class SessionCipher {
public:
    virtual ~SessionCipher() = default;
    virtual bool encrypted() const = 0;
    virtual std::string encrypt(const std::string& plain) const = 0;
    /// Throws WireError.
    virtual std::string decrypt(const std::string& cipher) const = 0;
    /// What the header is encrypted with: the same algorithm under the deployment's fixed key. Throws
    /// WireError.
    virtual std::string decryptHeader(const std::string& cipher) const = 0;
};

/// For a request without encryption: all texts travel as they are.
std::shared_ptr<const SessionCipher> plainCipher();
/// @param algorithm 0 and 1: AES-128 (a client without a choice uses it), 2: SM4; CBC with PKCS#7 padding
/// @param key 16 bytes
/// Throws WireError.
std::shared_ptr<const SessionCipher> contentCipher(int algorithm, const std::string& key);

}  // namespace devserver

#endif
