#ifndef DEVSERVER_STATISTICS_H
#define DEVSERVER_STATISTICS_H

#include <map>
#include <mutex>
#include <string>

namespace devserver {

/// Counts since the start. All operations from any thread.
class Statistics {
public:
    void countRequest(const std::string& path);
    void countServiceRequest(bool encrypted);
    void countReply(int wireCode);
    void countMisbehaviour();
    std::string toJson(long long unwrappedKeys) const;

private:
    mutable std::mutex m_mutex;
    // guarded by m_mutex
    long long m_requests = 0;
    long long m_plain = 0;
    long long m_encrypted = 0;
    long long m_misbehaved = 0;
    std::map<std::string, long long> m_paths;
    std::map<int, long long> m_codes;
};

}  // namespace devserver

#endif
