#ifndef VLOXLIB_DNSCACHE_SCOREMANAGER_H
#define VLOXLIB_DNSCACHE_SCOREMANAGER_H

#include <vloxlib/dnscache/IScore.h>

namespace vloxlib {

class PluginManager;

/// Grades addresses by the rules of PluginManager.
class VLOX_API ScoreManager : public IScore {
public:
    ScoreManager();
    ~ScoreManager() override;

    std::list<std::string> scoreDomain(std::shared_ptr<DomainModel> model) override;
    std::list<std::string> toIpArray(std::list<std::shared_ptr<IpModel>> models, int count) override;

private:
    std::unique_ptr<PluginManager> m_plugins;
};

}  // namespace vloxlib

#endif
