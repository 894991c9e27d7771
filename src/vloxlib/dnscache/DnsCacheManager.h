#ifndef VLOXLIB_DNSCACHE_DNSCACHEMANAGER_H
#define VLOXLIB_DNSCACHE_DNSCACHEMANAGER_H

#include <Poco/Mutex.h>

#include <vloxlib/dnscache/IDnsCache.h>
#include <list>
#include <string>

namespace vloxlib {

class DnsCacheFile;
class IpModel;

/// @brief The resolver's cache in a small SQLite file, "vloxDomain.db".
///
/// A file that can't be opened or is no database leaves a cache that knows nothing and stores nothing.
/// The file stays open for the life of the object; a second init() opens it anew.
class VLOX_API DnsCacheManager : public IDnsCache {
public:
    DnsCacheManager();
    ~DnsCacheManager() override;

    bool init(const std::string& directory) override;
    std::shared_ptr<DomainModel> getDnsCache(const std::string& sp, const std::string& domain,
                                             bool withIps) override;
    bool replaceDnsCache(std::shared_ptr<DomainModel> model) override;
    int clear() override;
    void setDomainSuccess(const std::string& domain, const std::string& ip) override;
    void deleteDomain(const std::string& domain) override;
    void setDomainFailure(const std::string& domain, const std::string& ip, int code) override;
    void setAddressFailure(const std::string& domain, const std::string& ip) override;

private:
    bool readDomain(const std::string& sp, const std::string& domain, std::shared_ptr<DomainModel>& model);
    void readIps(const std::string& ip, const std::string& sp, const std::string& domain,
                 std::list<std::shared_ptr<IpModel>>& list);
    bool storeIp(const IpModel& model);
    void updateDomainRecord(const std::string& domain, const std::string& ip, bool success);

    Poco::Mutex m_mutex;  // held for the whole of each operation
    std::unique_ptr<DnsCacheFile> m_file;
};

}  // namespace vloxlib

#endif
