#include "vloxlib/UserInfo.h"

#include <utility>

namespace vloxlib {

UserInfo::UserInfo() = default;

UserInfo::UserInfo(std::string appId, std::string vloxId)
    : m_vloxId(std::move(vloxId)), m_appId(std::move(appId)) {}

UserInfo::UserInfo(const UserInfo&) = default;

UserInfo& UserInfo::operator=(const UserInfo&) = default;

UserInfo::~UserInfo() = default;

bool UserInfo::operator==(const UserInfo& other) const {
    return m_appId == other.m_appId && m_vloxId == other.m_vloxId;
}

const std::string& UserInfo::getVloxID() const { return m_vloxId; }

const std::string& UserInfo::getAppID() const { return m_appId; }

void UserInfo::setVloxID(std::string vloxId) { m_vloxId = std::move(vloxId); }

void UserInfo::setAppID(std::string appId) { m_appId = std::move(appId); }

}  // namespace vloxlib
