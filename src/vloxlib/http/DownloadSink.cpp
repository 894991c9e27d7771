#include "vloxlib/http/DownloadSink.h"

#include <cstdlib>
#include <string_view>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/http/FileVersion.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

bool isFileStatus(long status) { return status == 200 || status == 206; }

bool isFailureText(const ReplyHeaders& reply) {
    return reply.last("Content-Type") == "application/json;charset=utf-8";
}

bool endsAt(const ReplyHeaders& reply, int64 offset) {
    return reply.status() == 416 && readContentRange(reply.last("Content-Range")).total == offset;
}

int codeOfFailure(const std::string& text) {
    rapidjson::Document failure;
    std::string code;
    const bool named =
        RapidJsonUtils::parse(text, failure) && RapidJsonUtils::getMemberString(failure, PARA_CODE, code);
    return named ? static_cast<int>(std::strtol(code.c_str(), nullptr, 10)) : native::kUnknown;
}

}  // namespace vloxlib
