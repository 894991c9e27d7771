#include "vloxlib/http/LoginInfo.h"

namespace vloxlib {

LoginInfo::LoginInfo() = default;
LoginInfo::LoginInfo(const LoginInfo&) = default;
LoginInfo& LoginInfo::operator=(const LoginInfo&) = default;
LoginInfo::~LoginInfo() = default;

LoginInfo::LoginInfo(long expTime, const char* signature, long createTime)
    : m_expTime(expTime), m_createTime(createTime) {
    setServerSignature(signature);
}

bool LoginInfo::operator==(const LoginInfo& other) const {
    return m_expTime == other.m_expTime && m_serverSignature == other.m_serverSignature &&
           m_createTime == other.m_createTime;
}

void LoginInfo::setServerSignature(const char* signature) { m_serverSignature = signature ? signature : ""; }

}  // namespace vloxlib
