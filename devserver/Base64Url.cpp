#include "Base64Url.h"

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>

#include <iterator>
#include <sstream>

namespace devserver {

std::string encodeBase64(const std::string& bytes) {
    std::ostringstream text;
    Poco::Base64Encoder encoder(text, Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING);
    encoder.rdbuf()->setLineLength(0);
    encoder.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    encoder.close();
    return text.str();
}

std::optional<std::string> decodeBase64(const std::string& text) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    if (text.find_first_not_of(alphabet) != std::string::npos || text.size() % 4 == 1) {
        return std::nullopt;
    }
    std::istringstream source(text);
    Poco::Base64Decoder decoder(source, Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING);
    return std::string(std::istreambuf_iterator<char>(decoder), std::istreambuf_iterator<char>());
}

}  // namespace devserver
