#include "vloxlib/encrypt/Base64.h"

#include "vloxlib/utility/UrlBase64.h"

namespace vloxlib {

std::string Base64::encode(const std::string& data) { return urlbase64::encode(data.data(), data.size()); }

std::string Base64::encode(const char* data, int length) {
    return data == nullptr || length < 1 ? std::string()
                                         : urlbase64::encode(data, static_cast<std::size_t>(length));
}

std::string Base64::decode(const std::string& text) { return urlbase64::decode(text.data(), text.size()); }

std::string Base64::decode(const char* text, int length) {
    return text == nullptr || length < 1 ? std::string()
                                         : urlbase64::decode(text, static_cast<std::size_t>(length));
}

}  // namespace vloxlib
