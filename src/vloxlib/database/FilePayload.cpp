#include "vloxlib/database/FilePayload.h"

#include "vloxlib/utility/JsonText.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

constexpr const char* kTypeKey = "httpResquestType";
constexpr const char* kRequestDataKey = "httpResquestData";
constexpr const char* kResultDataKey = "httpResulttData";
constexpr int kOldCloudDiskUpload = 53;

struct TypeMapping {
    int oldType;
    int newType;
    const char* tag;
};

const TypeMapping typeMappings[] = {
    {50, 50, "CommonFileTag"},
    {52, 52, "CommonFileTag"},
    {kOldCloudDiskUpload, 50, "CloudDiskFileTag"},
    {54, 52, "CloudDiskFileTag"},
};

const TypeMapping* findMapping(int oldType) {
    for (const TypeMapping& mapping : typeMappings) {
        if (mapping.oldType == oldType) {
            return &mapping;
        }
    }
    return nullptr;
}

std::string cloudDiskInfo(const rapidjson::Document& data) {
    rapidjson::Document info(rapidjson::kObjectType);
    for (const char* name : {"contentType", "diskId", "parentFolderNodeId"}) {
        const auto member = data.FindMember(name);
        if (member != data.MemberEnd() && member->value.IsString()) {
            addText(info, name, std::string(member->value.GetString(), member->value.GetStringLength()),
                    info);
        }
    }
    return RapidJsonUtils::jsonToString(info);
}

}  // namespace

bool convertFilePayload(FileRow row, std::string& payload) {
    rapidjson::Document old;
    if (!RapidJsonUtils::parse(payload, old)) {
        return false;
    }
    int type = 0;
    std::string text;
    RapidJsonUtils::getMemberInt(old, kTypeKey, type);
    RapidJsonUtils::getMemberString(old, kRequestDataKey, text);
    rapidjson::Document data;
    if (!RapidJsonUtils::parse(text, data)) {
        return false;
    }
    const TypeMapping* const mapping = findMapping(type);
    if (mapping == nullptr || !data.IsObject()) {
        return true;
    }
    if (row == FileRow::TASK && type == kOldCloudDiskUpload) {
        addText(data, "extraInfo", cloudDiskInfo(data), data);
    }
    addText(data, "tag", mapping->tag, data);

    rapidjson::Document converted(rapidjson::kObjectType);
    converted.AddMember(rapidjson::StringRef(kTypeKey), mapping->newType, converted.GetAllocator());
    addText(converted, row == FileRow::TASK ? kRequestDataKey : kResultDataKey,
            RapidJsonUtils::jsonToString(data), converted);
    payload = RapidJsonUtils::jsonToString(converted);
    return true;
}

}  // namespace vloxlib
