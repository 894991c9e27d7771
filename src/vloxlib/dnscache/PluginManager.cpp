#include "vloxlib/dnscache/PluginManager.h"

#include "vloxlib/dnscache/ScorePlugins.h"

namespace vloxlib {

PluginManager::PluginManager()
    : m_plugins{std::make_shared<ErrNumPlugin>(), std::make_shared<PriorityPlugin>(),
                std::make_shared<SpeedTestPlugin>(), std::make_shared<SuccessNumPlugin>(),
                std::make_shared<SuccessTimePlugin>()} {}

void PluginManager::run(const std::list<std::shared_ptr<IpModel>>& models, int count) {
    if (count == 0) {
        return;
    }
    for (const auto& model : models) {
        model->grade = 0;
    }
    for (const auto& plugin : m_plugins) {
        if (plugin->isActivated()) {
            plugin->run(models);
        }
    }
}

}  // namespace vloxlib
