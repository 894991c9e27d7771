#ifndef TESTS_CRASH_TRANSFERCRASH_H
#define TESTS_CRASH_TRANSFERCRASH_H

#include <set>
#include <string>

#include "crash/CrashRun.h"
#include "support/DevServer.h"

namespace vlox_test {

/// Kills a program that moves files from and to a stand-in platform, which has another version for it now and
/// then: what it fetched has to be one version and nothing else, and what it sent is on the platform.
class TransferCrash : public CrashRun {
public:
    TransferCrash(const std::string& directory, unsigned seed);
    void killOnce() override;

private:
    using Told = std::set<std::string>;  // the lines of a life

    void serveOther();
    void offerOther();
    void giveOrders();
    void compareFetched(const Told& told);
    void compareSent(const Told& told);
    void mergeSent();

    std::string path(const char* name) const { return directory() + "/" + name; }
    std::string newContent(std::size_t size);

    DevServer m_platform;
    std::string m_served;             // the platform's file,
    std::string m_servedId;           // its id,
    std::string m_part;               // what the last life left of it,
    std::string m_whole;              // and the last one that was whole
    std::string m_source;             // the file to be sent,
    std::string m_uuid;               // under which name,
    std::set<std::string> m_missing;  // and the slices of it that the platform hasn't got
};

}  // namespace vlox_test

#endif
