#include "WireFormat.h"

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>

namespace devserver {
namespace {

class PlainCipher : public SessionCipher {
public:
    bool encrypted() const override { return false; }
    std::string encrypt(const std::string& plain) const override { return plain; }
    std::string decrypt(const std::string& cipher) const override { return cipher; }
};

std::string encodeBase64(const std::string& bytes) {
    std::ostringstream text;
    Poco::Base64Encoder encoder(text, Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING);
    encoder.rdbuf()->setLineLength(0);
    encoder.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    encoder.close();
    return text.str();
}

// Only the URL-safe alphabet, without padding or line breaks: a client that writes another form is at fault.
std::string decodeBase64(const std::string& what, const std::string& text) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    if (text.find_first_not_of(alphabet) != std::string::npos || text.size() % 4 == 1) {
        throw WireError(kWireBadRequest, what + " is not in the URL-safe Base64 without padding");
    }
    std::istringstream source(text);
    Poco::Base64Decoder decoder(source, Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING);
    return {std::istreambuf_iterator<char>(decoder), std::istreambuf_iterator<char>()};
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
    const std::map<std::string, std::string> fields = formFields(request);
    requireFields(fields);
    if (fields.size() != 1) {
        throw WireError(kWireBadSession, "this server holds no keys");
    }
    ServiceRequest decoded;
    decoded.cipher = std::make_shared<PlainCipher>();
    if (const std::string* text = headerText(request)) {
        decoded.header = parseObject("VLOX-Ext", decodeBase64("VLOX-Ext", *text));
        checkHeader(decoded.header);
    } else if (m_headerRequired) {
        throw WireError(kWireBadRequest, "no header VLOX-Ext");
    }
    decoded.params =
        parseObject("params", decoded.cipher->decrypt(decodeBase64("params", fields.at("params"))));
    return decoded;
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
