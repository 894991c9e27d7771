#include "WireFormat.h"

#include <Poco/Exception.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <algorithm>
#include <iterator>

#include "Base64Url.h"

namespace devserver {
namespace {

std::string fromBase64(const std::string& what, const std::string& text) {
    const auto bytes = decodeBase64(text);
    if (!bytes) {
        throw WireError(kWireBadRequest, what + " is not in the URL-safe Base64 without padding");
    }
    return *bytes;
}

rapidjson::Document parseObject(const std::string& what, const std::string& text) {
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    if (document.HasParseError() || !document.IsObject()) {
        throw WireError(kWireBadRequest, what + " holds no JSON object");
    }
    return document;
}

std::map<std::string, std::string> formFields(const HttpRequest& request) {
    Poco::URI form;
    std::map<std::string, std::string> fields;
    try {
        form.setRawQuery(request.method == "POST" ? request.body : request.query);
        for (const auto& [name, value] : form.getQueryParameters()) {
            if (!fields.emplace(name, value).second) {
                throw WireError(kWireBadRequest, "field " + name + " comes twice");
            }
        }
    } catch (const Poco::Exception& error) {
        throw WireError(kWireBadRequest, "the form fields can't be read: " + error.displayText());
    }
    return fields;
}

void requireFields(const std::map<std::string, std::string>& fields) {
    static const std::string known[] = {"appId", "cryptoAlg", "params", "secretKey", "version"};
    if (fields.count("params") == 0) {
        throw WireError(kWireBadRequest, "no field params");
    }
    for (const auto& [name, value] : fields) {
        if (std::find(std::begin(known), std::end(known), name) == std::end(known)) {
            throw WireError(kWireBadRequest, "unknown field " + name);
        }
    }
    if (fields.size() != 1 && fields.size() != std::size(known)) {
        throw WireError(kWireBadRequest, "an encrypted request has five fields, a plain one has params only");
    }
}

const std::string* headerText(const HttpRequest& request) {
    for (const auto& [name, value] : request.headers) {
        if (Poco::icompare(name, "VLOX-Ext") == 0) {
            return &value;
        }
    }
    return nullptr;
}

void checkHeader(const rapidjson::Document& header) {
    if (header.MemberCount() != 2 || !header.HasMember("deviceType") || !header["deviceType"].IsInt() ||
        !header.HasMember("vloxId") || !header["vloxId"].IsString()) {
        throw WireError(kWireBadRequest, "VLOX-Ext holds other members than deviceType and vloxId");
    }
}

}  // namespace

ServiceRequest WireFormat::decode(const HttpRequest& request) const {
    return decode(request, formFields(request));
}

ServiceRequest WireFormat::decode(const HttpRequest& request, const FormFields& fields) const {
    requireFields(fields);
    ServiceRequest decoded;
    decoded.cipher = plainCipher();
    if (fields.size() != 1) {
        decoded.appId = fields.at("appId");
        decoded.cipher = cipherOf(fields);
    }
    decoded.header = readHeader(request, *decoded.cipher);
    decoded.params =
        parseObject("params", decoded.cipher->decrypt(fromBase64("params", fields.at("params"))));
    return decoded;
}

std::shared_ptr<const SessionCipher> WireFormat::cipherOf(const FormFields& fields) const {
    if (fields.at("version") != "1") {
        throw WireError(kWireBadRequest, "version is not 1");
    }
    const rapidjson::Document algorithms =
        parseObject("cryptoAlg", fromBase64("cryptoAlg", fields.at("cryptoAlg")));
    if (algorithms.MemberCount() != 2 || !algorithms.HasMember("asymAlg") || !algorithms["asymAlg"].IsInt() ||
        !algorithms.HasMember("symAlg") || !algorithms["symAlg"].IsInt()) {
        throw WireError(kWireBadRequest, "cryptoAlg holds other members than asymAlg and symAlg");
    }
    return m_sessions.open(algorithms["asymAlg"].GetInt(), algorithms["symAlg"].GetInt(),
                           fields.at("secretKey"));
}

rapidjson::Document WireFormat::readHeader(const HttpRequest& request, const SessionCipher& cipher) const {
    rapidjson::Document header;
    if (const std::string* text = headerText(request)) {
        header = parseObject("VLOX-Ext", cipher.decryptHeader(fromBase64("VLOX-Ext", *text)));
        checkHeader(header);
    } else if (m_headerRequired) {
        throw WireError(kWireBadRequest, "no header VLOX-Ext");
    }
    return header;
}

std::string WireFormat::encode(const ServiceReply& reply, const std::string& bid,
                               const SessionCipher* cipher) {
    rapidjson::Document envelope(rapidjson::kObjectType);
    addText(envelope, "code", std::to_string(reply.code));
    addText(envelope, "desc", reply.desc);
    addText(envelope, "bid", bid);
    if (cipher != nullptr && !reply.data.empty()) {
        addText(envelope, "data", encodeBase64(cipher->encrypt(reply.data)));
    }
    return toText(envelope);
}

}  // namespace devserver
