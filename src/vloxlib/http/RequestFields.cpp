#include "vloxlib/http/RequestFields.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

// The system's own fields are all of these characters, and libcurl is slow in finding that out.
constexpr std::array<bool, 256> kNeedsNoEscape = [] {
    std::array<bool, 256> table{};
    for (const char c :
         std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.~")) {
        table[static_cast<unsigned char>(c)] = true;
    }
    return table;
}();

bool needsNoEscape(char c) { return kNeedsNoEscape[static_cast<unsigned char>(c)]; }

}  // namespace

bool addField(RequestFields& fields, std::string key, std::string value) {
    value.resize(std::strlen(value.c_str()));
    if (!std::all_of(value.begin(), value.end(), needsNoEscape)) {
        const std::unique_ptr<char, decltype(&curl_free)> escaped(curl_easy_escape(nullptr, value.c_str(), 0),
                                                                  &curl_free);
        if (!escaped) {
            VLOX_LOG(3, "a value of %zu bytes can't be escaped, key=%s", value.size(), key.c_str());
            return false;
        }
        value = escaped.get();
    }
    fields.emplace(std::move(key), std::move(value));
    return true;
}

std::string joinedFields(const RequestFields& fields) {
    std::string joined;
    for (const auto& [key, value] : fields) {
        joined += joined.empty() ? "" : "&";
        joined += key;
        joined += '=';
        joined += value;
    }
    return joined;
}

std::string urlWithFields(const std::string& url, const RequestFields& fields) {
    const bool marked = !url.empty() && url.back() == '?';
    if (fields.empty()) {
        return url.substr(0, url.size() - (marked ? 1 : 0));
    }
    return url + (marked ? "" : "?") + joinedFields(fields);
}

}  // namespace vloxlib
