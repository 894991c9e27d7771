#ifndef VLOXLIB_HTTP_LOGININFO_H
#define VLOXLIB_HTTP_LOGININFO_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief A login as the login service gave it; a plain value. Nothing here interprets the times.
class VLOX_API LoginInfo {
public:
    LoginInfo();
    LoginInfo(long expTime, const char* signature, long createTime);  ///< A null signature counts as empty.
    LoginInfo(const LoginInfo&);
    LoginInfo& operator=(const LoginInfo&);
    virtual ~LoginInfo();

    bool operator==(const LoginInfo& other) const;

    long getExpTime() const { return m_expTime; }
    void setExpTime(long expTime) { m_expTime = expTime; }
    long getCreateTime() const { return m_createTime; }
    void setCreateTime(long createTime) { m_createTime = createTime; }
    const std::string& getServerSignature() const { return m_serverSignature; }
    void setServerSignature(const char* signature);  ///< Null counts as empty.

private:
    long m_expTime = 0;
    std::string m_serverSignature;
    long m_createTime = 0;
};

}  // namespace vloxlib

#endif
