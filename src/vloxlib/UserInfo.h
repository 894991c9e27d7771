#ifndef VLOXLIB_USERINFO_H
#define VLOXLIB_USERINFO_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief The identity of a client: an account of an application. A plain value.
///
/// Threads: an object that two threads change needs the caller's own protection.
class VLOX_API UserInfo {
public:
    UserInfo();  ///< Both texts empty.
    UserInfo(std::string appId, std::string vloxId);
    UserInfo(const UserInfo&);
    UserInfo& operator=(const UserInfo&);
    virtual ~UserInfo();

    bool operator==(const UserInfo& other) const;  ///< True when both texts are equal.

    const std::string& getVloxID() const;
    const std::string& getAppID() const;
    void setVloxID(std::string vloxId);
    void setAppID(std::string appId);

private:
    std::string m_vloxId;
    std::string m_appId;
};

}  // namespace vloxlib

#endif
