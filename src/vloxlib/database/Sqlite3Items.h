/// @file
/// @brief Records of the store's message bookkeeping: plain copyable values.
#ifndef VLOXLIB_DATABASE_SQLITE3ITEMS_H
#define VLOXLIB_DATABASE_SQLITE3ITEMS_H

#include <rapidjson/document.h>

#include <vloxlib/Export.h>
#include <memory>
#include <set>
#include <string>

namespace vloxlib {

/// @brief A status command about a message. What the status means is the modules' own.
class VLOX_API CMDInfoItem {
public:
    /// The JSON keys, in the order of the fields.
    static const char* const CMDInfoItemKeyField[6];

    CMDInfoItem() = default;
    CMDInfoItem(const std::string& cmdMessageId, const std::string& messageId, int status,
                const std::string& from, const std::string& tos, const std::string& groupId);

    /// @brief Takes each key that is there with the right type; others leave their field empty or 0.
    static CMDInfoItem fromJson(const rapidjson::Value& value);
    /// @brief An object in the document's memory; recipients and group only when they aren't empty.
    rapidjson::Value toJson(rapidjson::Document& document) const;

    /// By the message's id, then the command's.
    bool operator<(const CMDInfoItem& other) const;

    std::string m_cmdMessageId;
    std::string m_messageId;
    int m_status = 0;
    std::string m_from;
    std::string m_tos;
    std::string m_groupId;
};

/// Orders shared commands by what they hold; a null one comes first.
struct VLOX_API CMDInfoItemCompare {
    bool operator()(const std::shared_ptr<CMDInfoItem>& a, const std::shared_ptr<CMDInfoItem>& b) const;
};

using CMDInfoItemSet = std::set<std::shared_ptr<CMDInfoItem>, CMDInfoItemCompare>;

/// @brief The version that a group had when a message was sent to it.
struct VLOX_API GroupMsgInfo {
    GroupMsgInfo(std::string messageId, std::string groupVersion, int groupMemberCount);

    std::string m_messageId;
    std::string m_groupVersion;
    int m_groupMemberCount;
};

/// @brief A message held for the application to collect.
class VLOX_API LocalMessage {
public:
    int getId() const { return m_id; }  ///< The row's id: where the next reading goes on.

    /// @brief The object under `data` of the content, with the row's `id` and a `messageType` added.
    ///
    /// The content is parsed into the document, whose memory the result uses.
    /// @return a null value for content that is no JSON, which is logged, or has no object under `data`
    rapidjson::Value toJson(rapidjson::Document& document) const;

    int m_id = 0;
    std::string m_messageId;
    std::string m_content;
    int m_type = 0;
    int m_status = 0;
    std::string m_extraInfo;
};

}  // namespace vloxlib

#endif
