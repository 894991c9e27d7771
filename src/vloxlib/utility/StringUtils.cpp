#include "vloxlib/utility/StringUtils.h"

#include <cstdlib>

namespace vloxlib {

const std::string& StringUtils::EMPTY = *new std::string;

std::string StringUtils::randomStr(int length) {
    std::string letters;
    for (int count = 0; count < length; ++count) {
        letters += static_cast<char>('a' + std::rand() % 26);
    }
    return letters;
}

void StringUtils::stringReplace(std::string& text, const std::string& from, std::string to) {
    if (from.empty()) {
        return;
    }
    std::string replaced;
    std::size_t done = 0;
    for (auto hit = text.find(from); hit != std::string::npos; hit = text.find(from, done)) {
        replaced.append(text, done, hit - done).append(to);
        done = hit + from.size();
    }
    if (done > 0) {
        text = replaced.append(text, done);
    }
}

std::string StringUtils::encode(int value) {
    static const char alphabet[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_~";
    const auto bits = static_cast<unsigned int>(value);
    return {alphabet[bits >> 12 & 0x3F], alphabet[bits >> 6 & 0x3F], alphabet[bits & 0x3F]};
}

}  // namespace vloxlib
