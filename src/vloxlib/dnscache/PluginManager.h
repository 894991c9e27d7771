#ifndef VLOXLIB_DNSCACHE_PLUGINMANAGER_H
#define VLOXLIB_DNSCACHE_PLUGINMANAGER_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <memory>

namespace vloxlib {

class IPlugin;
class IpModel;

/// Runs the rules of the score one after the other.
class VLOX_API PluginManager : public Noncopyable {
public:
    PluginManager();

    /// Grades the addresses afresh. The list's order stays, whatever the grades. Nothing when `count` is 0.
    void run(const std::list<std::shared_ptr<IpModel>>& models, int count);

private:
    std::list<std::shared_ptr<IPlugin>> m_plugins;
};

}  // namespace vloxlib

#endif
