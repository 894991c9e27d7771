#include "vloxlib/dnscache/ScoreManager.h"

#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IpModel.h"
#include "vloxlib/dnscache/PluginManager.h"

namespace vloxlib {

ScoreManager::ScoreManager() : m_plugins(std::make_unique<PluginManager>()) {}

ScoreManager::~ScoreManager() = default;

std::list<std::string> ScoreManager::scoreDomain(std::shared_ptr<DomainModel> model) {
    if (!model) {
        return {};
    }
    const auto count = static_cast<int>(model->ipModels.size());
    if (count > 1) {
        m_plugins->run(model->ipModels, count);
    }
    return toIpArray(model->ipModels, count);
}

std::list<std::string> ScoreManager::toIpArray(std::list<std::shared_ptr<IpModel>> models, int count) {
    std::list<std::string> texts;
    if (count != 0) {
        for (const auto& model : models) {
            texts.push_back(model->ip);
        }
    }
    return texts;
}

}  // namespace vloxlib
