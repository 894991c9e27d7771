#ifndef DEVSERVER_SESSIONKEYS_H
#define DEVSERVER_SESSIONKEYS_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

#include "ServerKeys.h"
#include "SessionCipher.h"

namespace devserver {

/// The sessions that clients have opened. A client sends the same wrapped key with each request, so it is
/// unwrapped once. All operations from any thread.
class SessionKeys {
public:
    explicit SessionKeys(const ServerKeys& keys) : m_keys(keys) {}

    /// @param wrappedText the form field secretKey
    /// Throws WireError.
    std::shared_ptr<const SessionCipher> open(int asymAlg, int symAlg, const std::string& wrappedText);
    long long unwrapped() const;

private:
    using Session = std::tuple<int, int, std::string>;

    const ServerKeys& m_keys;
    mutable std::mutex m_mutex;
    // guarded by m_mutex
    std::map<Session, std::shared_ptr<const SessionCipher>> m_sessions;
    long long m_unwrapped = 0;
};

}  // namespace devserver

#endif
