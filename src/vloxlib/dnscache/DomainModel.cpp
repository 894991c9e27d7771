#include "vloxlib/dnscache/DomainModel.h"

#include <algorithm>
#include <iterator>

#include "vloxlib/dnscache/IpModel.h"

namespace vloxlib {

std::list<std::shared_ptr<IpModel>> DomainModel::getUsableIps() const {
    std::list<std::shared_ptr<IpModel>> usable;
    std::copy_if(ipModels.begin(), ipModels.end(), std::back_inserter(usable),
                 [](const auto& model) { return model->isUsable(); });
    return usable;
}

bool DomainModel::isExpired() const {
    return std::none_of(ipModels.begin(), ipModels.end(),
                        [](const auto& model) { return model->isUsable(); });
}

}  // namespace vloxlib
