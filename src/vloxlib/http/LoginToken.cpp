#include "vloxlib/http/LoginToken.h"

#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/JsonText.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

void LoginToken::set(const LoginInfo& loginInfo) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_login = loginInfo;
}

std::string LoginToken::textFor(const UserInfo& userInfo) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string& signature = m_login.getServerSignature();
    if (!signature.empty() && signature != m_signature) {
        m_signature = signature;
        rapidjson::Document login(rapidjson::kObjectType);
        addText(login, PARA_APP_ID, userInfo.getAppID(), login);
        addText(login, PARA_VLOXID, userInfo.getVloxID(), login);
        addText(login, PARA_SIGNATURE, signature, login);
        addText(login, PARA_EXP_TIME, std::to_string(m_login.getExpTime()), login);
        addText(login, PARA_CREATION_TIME, std::to_string(m_login.getCreateTime()), login);
        m_text = Base64::encode(RapidJsonUtils::jsonToString(login));
    }
    if (m_text.empty()) {
        VLOX_LOG(3, "m_token is empty");
    }
    return m_text;
}

}  // namespace vloxlib
