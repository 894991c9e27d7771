#include "vloxlib/http/ServiceEnvelope.h"

#include <algorithm>

#include "vloxlib/ErrorCodes.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/JsonText.h"
#include "vloxlib/utility/LoggedContent.h"

namespace vloxlib {

namespace {

constexpr int kLongestConnect = 10;  // seconds
constexpr int kOtherZoneWire = 10016;

// A `data` of another type counts as absent.
const JsonValue* dataOf(const JsonValue& object) {
    const auto member = object.FindMember(PARA_DATA);
    return member != object.MemberEnd() && member->value.IsString() ? &member->value : nullptr;
}

std::string decrypted(const JsonValue& data, EncryptBridge* bridge) {
    const std::string cipher = Base64::decode(data.GetString(), static_cast<int>(data.GetStringLength()));
    return bridge ? bridge->decryptData(cipher) : cipher;
}

}  // namespace

QosParams serviceLimits(int timeout) {
    QosParams limits;
    limits.timeout = timeout;
    limits.connectTimeout = std::min(timeout, kLongestConnect);
    return limits;
}

std::vector<ServiceField> serviceFields(const std::string& appId, EncryptBridge& bridge, int asymType,
                                        std::string encryptedParams) {
    std::vector<ServiceField> fields;
    fields.reserve(5);
    if (asymType != 0) {
        fields.emplace_back(PARA_APP_ID, appId);
        fields.emplace_back(PARM_CRYPTO_ALG, bridge.getCryptoTypeStr());
        fields.emplace_back(PARA_SECRET_KEY, bridge.getSecretKeyBase64());
        fields.emplace_back(PARA_VERSION, "1");
    }
    fields.emplace_back(PARA_PARAMS, std::move(encryptedParams));
    return fields;
}

std::string senderText(int deviceType, const std::string& vloxId) {
    ScratchDocument scratch;
    rapidjson::Document& sender = scratch.json;
    sender.SetObject();
    sender.AddMember(rapidjson::StringRef(PARA_DEVICE_TYPE), deviceType, sender.GetAllocator());
    addText(sender, PARA_VLOXID, vloxId, sender);
    return RapidJsonUtils::jsonToString(sender);
}

std::string encryptedText(EncryptBridge* bridge, const std::string& text) {
    if (!bridge) {
        VLOX_LOG(3, "m_encrypt is not been set");
        return "";
    }
    return Base64::encode(bridge->encryptData(text));
}

std::string encryptedHeader(EncryptBridge* bridge, const std::string& text) {
    if (!bridge) {
        VLOX_LOG(3, "m_encrypt is not been set");
        return "";
    }
    return Base64::encode(bridge->symmetricEncryptContentBySpecialSecretKey(text));
}

int readServiceReply(const char* methodName, int exchangeCode, const std::string& body, EncryptBridge* bridge,
                     JsonValue& result, rapidjson::Document& document) {
    if (exchangeCode != 0) {
        VLOX_LOG(3, "curl error. methodName=%s,curlReturnCode=%d", methodName, exchangeCode);
        return appendResult(exchangeCode, body, result, document);
    }
    ScratchDocument scratch;
    rapidjson::Document& envelope = scratch.json;
    if (!RapidJsonUtils::parse(body, envelope)) {
        VLOX_LOG(3, "http body json parse error. methodName=%s, body=%s", methodName,
                 loggedContent(body).c_str());
        return appendResult(native::kNoJson, body, result, document);
    }
    std::string codeText;
    if (!RapidJsonUtils::getMemberString(envelope, PARA_CODE, codeText)) {
        VLOX_LOG(3, "http body no code. methodName=%s, body=%s", methodName, loggedContent(body).c_str());
        return appendResult(native::kNoCode, body, result, document);
    }
    const int code = convertInternalErrorCode(codeText);
    std::string bid;
    if (RapidJsonUtils::getMemberString(envelope, PARA_BID, bid)) {
        VLOX_LOG(2, "field bid=%s", bid.c_str());
    }
    if (code != 0 && code != kOtherZoneWire) {
        std::string desc;
        RapidJsonUtils::getMemberString(envelope, PARA_DESC, desc);
        VLOX_LOG(3, "methodName=%s,returnCode=%d,desc=%s", methodName, code, desc.c_str());
        return appendResult(code, body, result, document);
    }
    const JsonValue* const data = dataOf(envelope);
    if (!data) {
        VLOX_LOG(2, "http result has no data");
        return appendResult(code, "", result, document);
    }
    const bool empty = data->GetStringLength() == 0;
    return appendResult(code, empty ? "" : decrypted(*data, bridge), result, document);
}

int appendResult(int code, const std::string& data, JsonValue& result, rapidjson::Document& document) {
    if (!result.IsObject()) {
        result.SetObject();
    }
    if (!data.empty()) {
        addText(result, PARA_DATA, data, document);
    }
    const int native = wireCodeToNative(code);
    result.AddMember(rapidjson::StringRef(PARA_RETURN_CODE), native, document.GetAllocator());
    return native;
}

int readServiceResult(const std::string& text, rapidjson::Document& document, JsonValue& data) {
    if (!RapidJsonUtils::parse(text, document)) {
        VLOX_LOG(3, "json parse fail, resultStr:%s", loggedContent(text).c_str());
        return native::kNoJson;
    }
    int returnCode = 0;
    if (!RapidJsonUtils::getMemberInt(document, PARA_RETURN_CODE, returnCode)) {
        VLOX_LOG(3, "data format illegal");
        return native::kNoCode;
    }
    if (const JsonValue* const member = dataOf(document)) {
        const std::string dataStr(member->GetString(), member->GetStringLength());
        if (!RapidJsonUtils::parse(dataStr, document)) {
            VLOX_LOG(3, "json parse fail, dataStr:%s", loggedContent(dataStr).c_str());
            return native::kNoJson;
        }
        data.CopyFrom(document, document.GetAllocator());
    }
    return returnCode;
}

}  // namespace vloxlib
