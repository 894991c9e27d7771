#ifndef VLOXLIB_HTTP_LOGINTOKEN_H
#define VLOXLIB_HTTP_LOGINTOKEN_H

#include <mutex>
#include <string>

#include "vloxlib/UserInfo.h"
#include "vloxlib/http/LoginInfo.h"

namespace vloxlib {

/// @brief A login in the form that requests carry. Threads: any.
class LoginToken {
public:
    void set(const LoginInfo& loginInfo);
    /// @brief The text, empty without a login. Made anew for a new signature alone: other times leave it.
    std::string textFor(const UserInfo& userInfo);

private:
    std::mutex m_mutex;
    LoginInfo m_login;        // guarded by m_mutex
    std::string m_signature;  // guarded by m_mutex: what m_text was built from
    std::string m_text;       // guarded by m_mutex
};

}  // namespace vloxlib

#endif
