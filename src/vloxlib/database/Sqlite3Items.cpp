#include "vloxlib/database/Sqlite3Items.h"

#include <tuple>
#include <utility>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/JsonText.h"
#include "vloxlib/utility/LoggedContent.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

// The received type that the application knows as 1; all others are 0 to it.
constexpr int kMarkedMessageType = 775;

}  // namespace

const char* const CMDInfoItem::CMDInfoItemKeyField[6] = {"cmdMessageID", "optMessageID", "status",
                                                         "from",         "tos",          "groupID"};

CMDInfoItem::CMDInfoItem(const std::string& cmdMessageId, const std::string& messageId, int status,
                         const std::string& from, const std::string& tos, const std::string& groupId)
    : m_cmdMessageId(cmdMessageId),
      m_messageId(messageId),
      m_status(status),
      m_from(from),
      m_tos(tos),
      m_groupId(groupId) {}

CMDInfoItem CMDInfoItem::fromJson(const rapidjson::Value& value) {
    CMDInfoItem item;
    RapidJsonUtils::getMemberString(value, CMDInfoItemKeyField[0], item.m_cmdMessageId);
    RapidJsonUtils::getMemberString(value, CMDInfoItemKeyField[1], item.m_messageId);
    RapidJsonUtils::getMemberInt(value, CMDInfoItemKeyField[2], item.m_status);
    RapidJsonUtils::getMemberString(value, CMDInfoItemKeyField[3], item.m_from);
    RapidJsonUtils::getMemberString(value, CMDInfoItemKeyField[4], item.m_tos);
    RapidJsonUtils::getMemberString(value, CMDInfoItemKeyField[5], item.m_groupId);
    return item;
}

rapidjson::Value CMDInfoItem::toJson(rapidjson::Document& document) const {
    rapidjson::Value object(rapidjson::kObjectType);
    addText(object, CMDInfoItemKeyField[0], m_cmdMessageId, document);
    addText(object, CMDInfoItemKeyField[1], m_messageId, document);
    object.AddMember(rapidjson::StringRef(CMDInfoItemKeyField[2]), m_status, document.GetAllocator());
    addText(object, CMDInfoItemKeyField[3], m_from, document);
    if (!m_tos.empty()) {
        addText(object, CMDInfoItemKeyField[4], m_tos, document);
    }
    if (!m_groupId.empty()) {
        addText(object, CMDInfoItemKeyField[5], m_groupId, document);
    }
    return object;
}

bool CMDInfoItem::operator<(const CMDInfoItem& other) const {
    return std::tie(m_messageId, m_cmdMessageId) < std::tie(other.m_messageId, other.m_cmdMessageId);
}

bool CMDInfoItemCompare::operator()(const std::shared_ptr<CMDInfoItem>& a,
                                    const std::shared_ptr<CMDInfoItem>& b) const {
    if (a == nullptr || b == nullptr) {
        return a == nullptr && b != nullptr;
    }
    return a != b && *a < *b;
}

GroupMsgInfo::GroupMsgInfo(std::string messageId, std::string groupVersion, int groupMemberCount)
    : m_messageId(std::move(messageId)),
      m_groupVersion(std::move(groupVersion)),
      m_groupMemberCount(groupMemberCount) {}

rapidjson::Value LocalMessage::toJson(rapidjson::Document& document) const {
    if (!RapidJsonUtils::parse(m_content, document)) {
        VLOX_LOG(4, "toJson parse Error: %s", loggedContent(m_content).c_str());
        return rapidjson::Value();
    }
    if (!document.IsObject()) {
        return rapidjson::Value();
    }
    const auto data = document.FindMember("data");
    if (data == document.MemberEnd() || !data->value.IsObject()) {
        return rapidjson::Value();
    }
    int receivedType = 0;
    RapidJsonUtils::getMemberInt(document, "receivedMessageType", receivedType);
    rapidjson::Value object = std::move(data->value);
    object.AddMember("id", m_id, document.GetAllocator());
    object.AddMember("messageType", receivedType == kMarkedMessageType ? 1 : 0, document.GetAllocator());
    return object;
}

}  // namespace vloxlib
