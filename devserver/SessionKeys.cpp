#include "SessionKeys.h"

#include "Base64Url.h"
#include "WireError.h"

namespace devserver {
namespace {

// A client makes one session per run; more than these at a time are not worth their memory.
constexpr std::size_t kMostSessions = 10'000;

}  // namespace

std::shared_ptr<const SessionCipher> SessionKeys::open(int asymAlg, int symAlg,
                                                       const std::string& wrappedText) {
    const Session session(asymAlg, symAlg, wrappedText);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto known = m_sessions.find(session);
        if (known != m_sessions.end()) {
            return known->second;
        }
    }
    // Not under the lock, for it is slow; two first requests at a time both unwrap, and the first one in
    // stays.
    const auto wrapped = decodeBase64(wrappedText);
    if (!wrapped) {
        throw WireError(kWireBadRequest, "secretKey is not in the URL-safe Base64 without padding");
    }
    const auto cipher = contentCipher(symAlg, m_keys.unwrap(asymAlg, *wrapped));
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_sessions.size() >= kMostSessions) {
        m_sessions.clear();
    }
    const auto [entry, isNew] = m_sessions.emplace(session, cipher);
    m_unwrapped += isNew ? 1 : 0;
    return entry->second;
}

long long SessionKeys::unwrapped() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_unwrapped;
}

}  // namespace devserver
