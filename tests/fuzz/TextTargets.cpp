#include <quilcrypto/Sm2.h>
#include <rapidjson/reader.h>

#include <charconv>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/Targets.h"
#include "support/DataDir.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/NumberText.h"
#include "vloxlib/database/FilePayload.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/ServiceAddresses.h"
#include "vloxlib/http/UrlPlaceholders.h"
#include "vloxlib/network/NetworkInfo.h"
#include "vloxlib/utility/RapidJsonUtils.h"

using namespace vloxlib;

namespace vlox_fuzz {

namespace {

// One byte that chooses, and the text behind it.
struct Choice {
    Choice(const std::uint8_t* data, std::size_t size)
        : number(size == 0 ? 0 : data[0]),
          text(reinterpret_cast<const char*>(data) + (size == 0 ? 0 : 1), size == 0 ? 0 : size - 1) {}

    const unsigned number;
    const std::string text;
};

std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Finds out whether there is a fraction somewhere.
struct FractionSeeker : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, FractionSeeker> {
    bool Double(double) {
        found = true;
        return true;
    }
    bool found = false;
};

// Fractions may change in their last digit.
bool hasFraction(const JsonValue& value) {
    FractionSeeker seeker;
    value.Accept(seeker);
    return seeker.found;
}

void promiseStable(const JsonValue& value) {
    const std::string text = RapidJsonUtils::jsonToString(value);
    rapidjson::Document again;
    promise(RapidJsonUtils::parse(text, again), "what is written can be read");
    promise(hasFraction(value) || RapidJsonUtils::jsonToString(again) == text,
            "what is read and written again is the same");
}

int returnCodeOf(const JsonValue& result) {
    int code = 1;
    promise(RapidJsonUtils::getMemberInt(result, "returnCode", code), "a result has its code");
    return code;
}

// Its session key is made once; what the platform would make of it doesn't matter.
const std::shared_ptr<EncryptBridge>& bridge() {
    static const auto made = [] {
        const auto point = sm2::PrivateKey::generate()->toPoint();
        return std::make_shared<EncryptBridge>(SYM_AES128_CBC, ASYM_SM2,
                                               Base64::encode(textOf(point.data(), point.size())), "");
    }();
    return made;
}

std::string envelopeAround(const std::string& code, const std::string& cipher) {
    return R"({"code":")" + code + R"(","data":")" + Base64::encode(cipher) + "\"}";
}

void readBody(const std::string& body, const std::shared_ptr<EncryptBridge>& key) {
    rapidjson::Document document;
    JsonValue result;
    const int code = HttpHelper::handleHttpBody(body, key, result, document);
    promise(returnCodeOf(result) == code, "the code given back is the one in the result");
    promise(!result.HasMember("data") || result["data"].GetStringLength() > 0, "data is never empty");
    promiseStable(result);
}

void readEncrypted(const std::string& plain) {
    rapidjson::Document document;
    JsonValue result;
    const std::string body = envelopeAround("0", bridge()->encryptData(plain));
    promise(HttpHelper::handleHttpBody(body, bridge(), result, document) == 0, "the reply is a success");
    promise(result.HasMember("data") == !plain.empty(), "an empty text is no data");
    promise(
        plain.empty() || plain == std::string(result["data"].GetString(), result["data"].GetStringLength()),
        "what the service encrypted is what its caller gets");
}

void readOtherZone(const std::string& zone) {
    ServerInfo server;
    const auto toZone = HttpHelper::generateEncryptBridge(SYM_AES128_CBC, zone, server);
    promise(toZone || (server.httpAddress.empty() && server.asymEncryptType == ASYM_NONE),
            "a zone that isn't named in full leaves nothing behind");
    if (toZone) {
        const std::string plain = "to the other zone";
        promise(
            toZone->getSecretKeyBase64().empty() || toZone->decryptData(toZone->encryptData(plain)) == plain,
            "a bridge with a key can be used");
    }
}

std::vector<std::string> allSettings(const ConfigManager& config) {
    std::vector<std::string> settings;
    for (int key = 0; key < CONFIG_KEY_END; ++key) {
        settings.push_back(config.getConfig(static_cast<_ConfigKey>(key), std::string("unset")));
    }
    return settings;
}

bool mayBeTold(int key) {
    for (const _ConfigKey host : {CONFIG_PCS_HOST, CONFIG_FS_HOST, CONFIG_CDS_HOST, CONFIG_TOPIC_HOST,
                                  CONFIG_BLS_HOST, CONFIG_FPS_HOST, CONFIG_VOIP_HOST}) {
        if (key == host || key == host + 1) {
            return true;
        }
    }
    return false;
}

template <typename Number>
void checkNumber(const std::string& text) {
    Number number = 1;
    strToX(text, number);
    std::vector<char> written(21);  // as much as is promised to be enough
    toStr(number, written.data());
    Number again = 1;
    strToX(written.data(), again);
    promise(again == number, "a number survives");
    strToX(std::string(written.data()) + "x9", again);
    promise(again == number, "what stands behind the digits doesn't count");
    Number standard = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), standard);
    promise(read.ec == std::errc::result_out_of_range || standard == number,
            "a number within the range is what everybody reads");
}

}  // namespace

void serviceReply(const std::uint8_t* data, std::size_t size) {
    const Choice input(data, size);
    switch (input.number % 5) {
        case 0:
            return readBody(input.text, nullptr);
        case 1:
            return readBody(input.text, bridge());
        case 2:
            return readBody(envelopeAround("10016", input.text), bridge());
        case 3:
            return readEncrypted(input.text);
        default:
            return readOtherZone(input.text);
    }
}

void resultText(const std::uint8_t* data, std::size_t size) {
    static const vlox_test::DataDir dataDir;
    static const auto helper = HttpHelper::getInstance(UserInfo("app", "fuzz"));
    rapidjson::Document document;
    JsonValue value;
    const int code = helper->parseHttpResultString(textOf(data, size), document, value);
    if (value.IsNull()) {
        return;
    }
    promiseStable(value);
    rapidjson::Document result(rapidjson::kObjectType);
    const std::string inner = RapidJsonUtils::jsonToString(value);
    result.AddMember("data",
                     JsonValue(inner.data(), static_cast<unsigned>(inner.size()), result.GetAllocator()),
                     result.GetAllocator());
    result.AddMember("returnCode", code, result.GetAllocator());
    JsonValue again;
    promise(helper->parseHttpResultString(RapidJsonUtils::jsonToString(result), document, again) == code,
            "the code survives");
    promise(hasFraction(value) || RapidJsonUtils::jsonToString(again) == inner, "the data survives");
}

void addressReply(const std::uint8_t* data, std::size_t size) {
    const Choice input(data, size);
    rapidjson::Document services;
    if (!RapidJsonUtils::parse(input.text, services)) {
        return;
    }
    ConfigManager config("fuzz");
    config.setConfig(CONFIG_WEB_REQUEST_MODE, static_cast<int>(input.number & 1));
    config.setConfig(CONFIG_SERVER_PROTOCOL, (input.number & 2) != 0 ? "tls" : "tcp");
    const std::vector<std::string> before = allSettings(config);
    storeServiceAddresses(services, config);
    const std::vector<std::string> after = allSettings(config);
    for (int key = 0; key < CONFIG_KEY_END; ++key) {
        const auto place = static_cast<std::size_t>(key);
        promise(before[place] == after[place] || mayBeTold(key), "other settings are none of its business");
        promise(before[place] == after[place] || services.IsArray(), "only a list tells something");
    }
    storeServiceAddresses(services, config);
    promise(allSettings(config) == after, "the same reply again changes nothing");
}

void networkJson(const std::uint8_t* data, std::size_t size) {
    const std::string text = textOf(data, size);
    const NetworkInfo info = NetworkInfo::fromJson(text);
    rapidjson::Document written;
    if (!RapidJsonUtils::parse(text, written)) {
        promise(info.getNetworkType() == NETWORK_TYPE_NONE && info.getIPAddress().empty() &&
                    !info.isNetworkInterfaceStateEnabled(),
                "what is no JSON tells nothing");
    }
    written.SetObject();
    written.AddMember("networkType", static_cast<int>(info.getNetworkType()), written.GetAllocator());
    written.AddMember("ipAddress", JsonValue(info.getIPAddress().c_str(), written.GetAllocator()),
                      written.GetAllocator());
    written.AddMember("isNetworkInterfaceEnabled", info.isNetworkInterfaceStateEnabled(),
                      written.GetAllocator());
    const NetworkInfo again = NetworkInfo::fromJson(RapidJsonUtils::jsonToString(written));
    promise(again.getNetworkType() == info.getNetworkType() && again.getIPAddress() == info.getIPAddress() &&
                again.isNetworkInterfaceStateEnabled() == info.isNetworkInterfaceStateEnabled(),
            "a snapshot survives");
}

void migrationPayload(const std::uint8_t* data, std::size_t size) {
    const Choice input(data, size);
    const bool task = input.number % 2 == 0;
    std::string payload = input.text;
    const bool read = convertFilePayload(task ? FileRow::TASK : FileRow::RESULT, payload);
    if (payload == input.text) {
        return;
    }
    promise(read, "what can't be read stays as it is");
    rapidjson::Document outer;
    rapidjson::Document inner;
    int type = 0;
    std::string text;
    promise(RapidJsonUtils::parse(payload, outer) && outer.MemberCount() == 2, "two members are written");
    promise(RapidJsonUtils::getMemberInt(outer, "httpResquestType", type) && (type == 50 || type == 52),
            "the type is one of the new ones");
    promise(RapidJsonUtils::getMemberString(outer, task ? "httpResquestData" : "httpResulttData", text) &&
                RapidJsonUtils::parse(text, inner) && inner.HasMember("tag"),
            "the data is tagged");
    promiseStable(inner);
    std::string again = payload;
    promise(convertFilePayload(FileRow::RESULT, again) == task, "a result's data has another name");
}

void urlPlaceholders(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(textOf(data, size));
    std::string url;
    std::getline(lines, url);
    std::map<std::string, std::string> params;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        params[line.substr(0, equals)] = equals == std::string::npos ? "" : line.substr(equals + 1);
    }
    std::string filled = url;
    const int result = replaceUrlByHeadParams(filled, params);
    if (params.empty()) {
        promise(result == 0 && filled == url, "nothing to put in");
        return;
    }
    const auto& [key, value] = *params.begin();
    const std::string placeholder = "${" + key + "}";
    promise(url.find(placeholder) != std::string::npos || (result == -1 && filled == url),
            "a parameter that isn't used is refused");
    if (params.size() > 1 || value.empty() || value.find_first_of(placeholder) != std::string::npos) {
        return;
    }
    // A value that can't become a part of a placeholder: whoever asks often enough has them all replaced.
    while (replaceUrlByHeadParams(filled, params) == 0) {
    }
    std::string all;
    std::size_t from = 0;
    for (std::size_t to = url.find(placeholder); to != std::string::npos; to = url.find(placeholder, from)) {
        all += url.substr(from, to - from) + value;
        from = to + placeholder.size();
    }
    promise(filled == all + url.substr(from), "a value takes the place of its name and of nothing else");
}

void headerLine(const std::uint8_t* data, std::size_t size) {
    const std::string line = textOf(data, size);
    std::map<std::string, std::string> headers;
    insertHeaderLine(line, headers);
    promise(headers.size() <= 1, "a line is one header at most");
    promise(startOfContentRange(line) >= 0, "a file has no place ahead of its start");
    if (headers.empty()) {
        return;
    }
    const auto& [name, value] = *headers.begin();
    promise(line.find(':') != std::string::npos, "a header has a colon");
    promise(!value.empty() && (name + value).find_first_of("\r\n") == std::string::npos,
            "a header has a value and ends with its line");
    std::map<std::string, std::string> again{{name, "an earlier one"}};
    insertHeaderLine(line, again);
    promise(again.size() == 1 && again[name] == "an earlier one", "the first header of a name stays");
    again.clear();
    insertHeaderLine(name + ": " + value + "\r\n", again);
    promise(again == headers, "a header survives");
}

void configNumber(const std::uint8_t* data, std::size_t size) {
    const std::string text = textOf(data, size);
    checkNumber<int>(text);
    checkNumber<unsigned int>(text);
    checkNumber<long>(text);
    checkNumber<unsigned long>(text);
    checkNumber<int64>(text);
    checkNumber<unsigned long long>(text);
    ConfigManager config("fuzz");
    config.setConfig(CONFIG_FILE_CHUNK_SIZE, text);
    int number = 0;
    strToX(text, number);
    promise(config.getConfig(CONFIG_FILE_CHUNK_SIZE, 7) == number, "a setting is read as any number is");
    promise(config.getConfig(CONFIG_FILE_CHUNK_SIZE, std::string()) == text, "a setting is kept as it came");
}

}  // namespace vlox_fuzz
