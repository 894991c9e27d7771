#include "vloxlib/ConfigManager.h"

#include "vloxlib/TextTable.h"

namespace vloxlib {

InstancesHolder<ConfigManager>& ConfigManager::s_holder = *new InstancesHolder<ConfigManager>;

std::shared_ptr<ConfigManager> ConfigManager::getInstance(const std::string& key) {
    return s_holder.getInstance(key);
}

void ConfigManager::releaseInstance(const std::string& key) { s_holder.releaseInstance(key); }

ConfigManager::ConfigManager(const std::string& vloxId)
    : m_table{{CONFIG_MODULE_FLAG_104, "2"},       {CONFIG_WEB_REQUEST_MODE, "0"},
              {CONFIG_ENCRYPT_POLICY, "4"},        {CONFIG_SYM_ENCRYPT_TYPE, "1"},
              {CONFIG_REQUEST_ENVELOPE_MODE, "1"}, {CONFIG_MODULE_FLAG_32, "0"},
              {CONFIG_URL_SERVICE_PREFIX, "1"},    {CONFIG_MODULE_FLAG_37, "0"},
              {CONFIG_FILE_CHUNK_SIZE, "4194304"}},
      m_vloxId(vloxId) {}

ConfigManager::~ConfigManager() = default;

void ConfigManager::setConfig(_ConfigKey key, const std::string& value) {
    if (key >= CONFIG_KEY_END) {
        return;
    }
    WindowsMutexGuard lock(m_mutex);
    m_table[key] = value;
}

void ConfigManager::setConfig(_ConfigKey key, int value) { setConfig(key, decimalText(value)); }

int ConfigManager::getConfig(_ConfigKey key, const int& defaultValue) const {
    WindowsMutexGuard lock(m_mutex);
    return lookUp(m_table, key, defaultValue);
}

std::string ConfigManager::getConfig(_ConfigKey key, const std::string& defaultValue) const {
    WindowsMutexGuard lock(m_mutex);
    return lookUp(m_table, key, defaultValue);
}

const std::string& ConfigManager::getVloxId() const { return m_vloxId; }

}  // namespace vloxlib
