#include "vloxlib/utility/LoggedContent.h"

#include <atomic>

#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

std::atomic<bool> wholeContent{true};

}  // namespace

void setContentLogged(bool whole) { wholeContent = whole; }

std::string loggedContent(const std::string& text) {
    if (wholeContent) {
        return text;
    }
    std::string shape = std::to_string(text.size()) + " bytes";
    rapidjson::Document content;
    if (RapidJsonUtils::parse(text, content) && content.IsObject()) {
        for (const auto& member : content.GetObject()) {
            shape.append(1, ' ').append(member.name.GetString(), member.name.GetStringLength());
        }
    }
    return shape;
}

}  // namespace vloxlib
