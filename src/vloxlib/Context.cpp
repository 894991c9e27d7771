#include "vloxlib/Context.h"

#include "vloxlib/TextTable.h"

namespace vloxlib {

Context* Context::getInstance() {
    static Context* const instance = new Context;  // never destroyed: threads may outlive static objects
    return instance;
}

Context::Context() = default;

Context::~Context() = default;

void Context::setContext(ContextKey key, const std::string& value) {
    if (key >= CONTEXT_KEY_END) {
        return;
    }
    WindowsMutexGuard lock(m_mutex);
    m_table[key] = value;
}

void Context::setContext(ContextKey key, int value) { setContext(key, decimalText(value)); }

int Context::getContext(ContextKey key, const int& defaultValue) const {
    WindowsMutexGuard lock(m_mutex);
    return lookUp(m_table, key, defaultValue);
}

std::string Context::getContext(ContextKey key, const std::string& defaultValue) const {
    WindowsMutexGuard lock(m_mutex);
    return lookUp(m_table, key, defaultValue);
}

}  // namespace vloxlib
