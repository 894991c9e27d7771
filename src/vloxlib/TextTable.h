#ifndef VLOXLIB_TEXTTABLE_H
#define VLOXLIB_TEXTTABLE_H

#include <map>
#include <string>

#include "vloxlib/NumberText.h"

namespace vloxlib {

// What the tables of configuration and context share: numbers are kept as decimal text. The caller holds the
// lock.

inline std::string decimalText(int value) {
    char text[32];
    toStr(value, text);
    return text;
}

template <typename Key, typename Value>
Value lookUp(const std::map<Key, std::string>& table, Key key, const Value& defaultValue) {
    const auto place = table.find(key);
    if (place == table.end()) {
        return defaultValue;
    }
    Value value;
    strToX(place->second, value);
    return value;
}

}  // namespace vloxlib

#endif
