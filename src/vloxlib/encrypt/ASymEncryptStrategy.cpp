#include "vloxlib/encrypt/ASymEncryptStrategy.h"

namespace vloxlib {

ASymEncryptStrategy::ASymEncryptStrategy(const std::string& strategyName) : m_strategyName(strategyName) {}

ASymEncryptStrategy::~ASymEncryptStrategy() = default;

}  // namespace vloxlib
