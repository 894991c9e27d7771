#include "vloxlib/encrypt/Base64.h"

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>

#include <istream>
#include <sstream>

namespace vloxlib {

namespace {

constexpr int kOptions = Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING;

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

std::string Base64::encode(const std::string& data) {
    std::ostringstream text;
    Poco::Base64Encoder encoder(text, kOptions);
    encoder.rdbuf()->setLineLength(0);
    encoder.write(data.data(), static_cast<std::streamsize>(data.size()));
    encoder.close();
    return text.str();
}

std::string Base64::encode(const char* data, int length) {
    return data == nullptr || length < 1 ? std::string()
                                         : encode(std::string(data, static_cast<size_t>(length)));
}

std::string Base64::decode(const std::string& text) {
    // In its URL form the decoder takes white space for an invalid character.
    std::string symbols;
    symbols.reserve(text.size());
    for (char c : text) {
        if (!isSpace(c)) {
            symbols.push_back(c);
        }
    }
    std::istringstream source(symbols);
    Poco::Base64Decoder decoder(source, kOptions);
    std::string data;
    data.reserve(symbols.size() / 4 * 3 + 3);
    for (char c = 0; decoder.get(c);) {  // an invalid text only ends the stream
        data.push_back(c);
    }
    return data;
}

std::string Base64::decode(const char* text, int length) {
    return text == nullptr || length < 1 ? std::string()
                                         : decode(std::string(text, static_cast<size_t>(length)));
}

}  // namespace vloxlib
