/// @file
/// @brief The vocabulary of the platform's services: URL paths, field names and short codes.
///
/// The texts are part of the wire format, and the names of the binary interface, misspellings and doubles
/// included: two names with one value stay two names, and a name doesn't always tell its value, as its
/// definition shows. All live as long as the library is loaded. A path goes behind "/vlox/" or "/"; its
/// `${name}` placeholders are filled from the caller's path parameters.
#ifndef VLOXLIB_SERVICEVOCABULARY_H
#define VLOXLIB_SERVICEVOCABULARY_H

#include <vloxlib/Export.h>

extern "C" {

// Service paths: Server addresses
extern VLOX_API const char* const URL_SERVER_ADDRESS_QUERY;

// Service paths: Users
extern VLOX_API const char* const URL_USER_APP_ACCOUNT_QUERY;
extern VLOX_API const char* const URL_USER_VLOXID_QUERY;
extern VLOX_API const char* const URL_USER_STATUS_QUERY;
extern VLOX_API const char* const URL_PRESENT_STATUS_SET;

// Service paths: Files
extern VLOX_API const char* const URL_FILE_ANONYMOUS_DOWNLOAD;
extern VLOX_API const char* const URL_FILE_CHUNK_DELETE;
extern VLOX_API const char* const URL_FILE_CHUNK_MERGE;
extern VLOX_API const char* const URL_FILE_CHUNK_QUERY;
extern VLOX_API const char* const URL_FILE_CHUNK_UPLOAD;
extern VLOX_API const char* const URL_FILE_DETECT;
extern VLOX_API const char* const URL_FILE_DOWNLOAD;
extern VLOX_API const char* const URL_FILE_PREVIEW;
extern VLOX_API const char* const URL_FILE_PREVIEW_DETECT;
extern VLOX_API const char* const URL_FILE_UPLOAD;

// Service paths: Groups
extern VLOX_API const char* const URL_GROUP_ADMIN_ADD;
extern VLOX_API const char* const URL_GROUP_ADMIN_DELETE;
extern VLOX_API const char* const URL_GROUP_ADMIN_SET;
extern VLOX_API const char* const URL_GROUP_CREATE;
extern VLOX_API const char* const URL_GROUP_CREAT_QUERY;
extern VLOX_API const char* const URL_GROUP_DISMISS;
extern VLOX_API const char* const URL_GROUP_ID_GET;
extern VLOX_API const char* const URL_GROUP_INFO_QUERY;
extern VLOX_API const char* const URL_GROUP_INFO_SET;
extern VLOX_API const char* const URL_GROUP_INVITE_ACK;
extern VLOX_API const char* const URL_GROUP_JOINED_GROUPS_QUERY;
extern VLOX_API const char* const URL_GROUP_JOIN_ACK;
extern VLOX_API const char* const URL_GROUP_MEMBERID_QUERY;
extern VLOX_API const char* const URL_GROUP_MEMBERINFO_QUERY;
extern VLOX_API const char* const URL_GROUP_MEMBER_INFO_SET;
extern VLOX_API const char* const URL_GROUP_MEMBER_INVITE;
extern VLOX_API const char* const URL_GROUP_MEMBER_JOIN;
extern VLOX_API const char* const URL_GROUP_MEMBER_LEAVE;
extern VLOX_API const char* const URL_GROUP_MEMBER_MUTE_STATUS_SET;
extern VLOX_API const char* const URL_GROUP_MEMBER_QUERY;
extern VLOX_API const char* const URL_GROUP_MEMBER_REMOVE;
extern VLOX_API const char* const URL_GROUP_MUTE_STATUS_SET;
extern VLOX_API const char* const URL_GROUP_OWN_QUERY;
extern VLOX_API const char* const URL_GROUP_TRANSFER;

// Service paths: Real-time calls
extern VLOX_API const char* const URL_RTC_CALL_ACCEPT;
extern VLOX_API const char* const URL_RTC_CALL_CREATE;
extern VLOX_API const char* const URL_RTC_CALL_CREATE_SDK;
extern VLOX_API const char* const URL_RTC_CALL_FINISH;
extern VLOX_API const char* const URL_RTC_CALL_GET;
extern VLOX_API const char* const URL_RTC_CALL_HANGUP;
extern VLOX_API const char* const URL_RTC_CALL_INVITE;
extern VLOX_API const char* const URL_RTC_CALL_JOIN;
extern VLOX_API const char* const URL_RTC_CALL_KICKOUT;
extern VLOX_API const char* const URL_RTC_CALL_QUERY;
extern VLOX_API const char* const URL_RTC_CALL_REJECT;
extern VLOX_API const char* const URL_RTC_CALL_SPEAK;

// Service paths: Official accounts
extern VLOX_API const char* const URL_OAC_ARTICLES_CONTENT;
extern VLOX_API const char* const URL_OAC_ARTICLES_OUTLINE;
extern VLOX_API const char* const URL_OAC_CANCEL_FOLLOWER;
extern VLOX_API const char* const URL_OAC_DETAIL;
extern VLOX_API const char* const URL_OAC_FOLLOWER;
extern VLOX_API const char* const URL_OAC_GET_OPENID;
extern VLOX_API const char* const URL_OAC_MARKING;
extern VLOX_API const char* const URL_OAC_OUTLINE;

// Service paths: Cloud disk
extern VLOX_API const char* const URL_CD_CANCEL_BATCH_SHARE;
extern VLOX_API const char* const URL_CD_CANCEL_SHARE;
extern VLOX_API const char* const URL_CD_CATEGORY;
extern VLOX_API const char* const URL_CD_COPY;
extern VLOX_API const char* const URL_CD_CREAT_ACCOUNT;
extern VLOX_API const char* const URL_CD_CREAT_FOLDER;
extern VLOX_API const char* const URL_CD_DELETE;
extern VLOX_API const char* const URL_CD_FILE_DETECT;
extern VLOX_API const char* const URL_CD_FILE_DOWNLOAD;
extern VLOX_API const char* const URL_CD_FILE_DUMP;
extern VLOX_API const char* const URL_CD_FILE_RESUME_DOWNLOAD;
extern VLOX_API const char* const URL_CD_FILE_RESUME_MERGE;
extern VLOX_API const char* const URL_CD_FILE_RESUME_UPLOAD;
extern VLOX_API const char* const URL_CD_FILE_UPLOAD;
extern VLOX_API const char* const URL_CD_FUZZY_QUERY_SHARED;
extern VLOX_API const char* const URL_CD_MOVE;
extern VLOX_API const char* const URL_CD_QUERY_CAPACITY;
extern VLOX_API const char* const URL_CD_QUERY_CHILDFOLDER;
extern VLOX_API const char* const URL_CD_QUERY_NODE;
extern VLOX_API const char* const URL_CD_QUERY_SHARED;
extern VLOX_API const char* const URL_CD_QUERY_SHARED_CHILDFOLDER;
extern VLOX_API const char* const URL_CD_QUERY_SHARED_LIST;
extern VLOX_API const char* const URL_CD_RENAME;
extern VLOX_API const char* const URL_CD_SHARE;
extern VLOX_API const char* const URL_CD_UPDATE_SHARE_FILE_PASSWORD;

// Service paths: Topics and votes
extern VLOX_API const char* const URL_TP_ADD_GROUPRELATION;
extern VLOX_API const char* const URL_TP_CLOSE;
extern VLOX_API const char* const URL_TP_CREAT;
extern VLOX_API const char* const URL_TP_CREATE_VOTE;
extern VLOX_API const char* const URL_TP_DELETE_GROUPRELATION;
extern VLOX_API const char* const URL_TP_DELETE_VOTE;
extern VLOX_API const char* const URL_TP_INVITE_REPLY;
extern VLOX_API const char* const URL_TP_OPEN;
extern VLOX_API const char* const URL_TP_PUBLISH_REPLY;
extern VLOX_API const char* const URL_TP_PUBLIS_ADN_AT;
extern VLOX_API const char* const URL_TP_QUERY_GROUPRELATION;
extern VLOX_API const char* const URL_TP_QUERY_SELFTOPICLIST;
extern VLOX_API const char* const URL_TP_QUERY_SELFTOPICLIST_SPLIT;
extern VLOX_API const char* const URL_TP_QUERY_TOPIC;
extern VLOX_API const char* const URL_TP_QUERY_TOPICLIST;
extern VLOX_API const char* const URL_TP_QUERY_TOPICLIST_SPLIT;
extern VLOX_API const char* const URL_TP_QUERY_TOPICNODEINFO;
extern VLOX_API const char* const URL_TP_QUERY_VOTERESULT;
extern VLOX_API const char* const URL_TP_QUERY_VOTE_ALL_LIST;
extern VLOX_API const char* const URL_TP_QUERY_VOTE_CREATE_LIST;
extern VLOX_API const char* const URL_TP_QUERY_VOTE_DETAIL;
extern VLOX_API const char* const URL_TP_QUERY_VOTE_PARTICIPATED_LIST;
extern VLOX_API const char* const URL_TP_REMOVE;
extern VLOX_API const char* const URL_TP_REMOVE_REPLY;
extern VLOX_API const char* const URL_TP_SETTOP;
extern VLOX_API const char* const URL_TP_SUBMIT_VOTE;
extern VLOX_API const char* const URL_TP_TRANSFER;
extern VLOX_API const char* const URL_TP_UNSETTOP;
extern VLOX_API const char* const URL_TP_VOTE_CLOSE;
extern VLOX_API const char* const URL_TP_VOTE_TRANSFER;

// Service paths: Buddies
extern VLOX_API const char* const URL_BD_ADD_BUDDY_REPLY;
extern VLOX_API const char* const URL_BD_ADD_BUDDY_REQUEST;
extern VLOX_API const char* const URL_BD_GET_ADDEDPOLICY;
extern VLOX_API const char* const URL_BD_SET_ADDEDPOLICY;
extern VLOX_API const char* const URL_BD_SET_GET_BUDDY;
extern VLOX_API const char* const URL_BD_SET_GET_BUDDYLIST;
extern VLOX_API const char* const URL_BD_SET_REMOVE_BUDDY;
extern VLOX_API const char* const URL_BD_SET_SET_BUDDY;

// Keys of requests and replies, and names of headers
extern VLOX_API const char* const PARA_ACK_CODE;
extern VLOX_API const char* const PARA_ADD_ADMIN_LIST;
extern VLOX_API const char* const PARA_ADMIN;
extern VLOX_API const char* const PARA_AGREE_COUT;
extern VLOX_API const char* const PARA_ANONYMOUS;
extern VLOX_API const char* const PARA_ANSWER;
extern VLOX_API const char* const PARA_ANSWERS;
extern VLOX_API const char* const PARA_APPLICANT;
extern VLOX_API const char* const PARA_APP_ACCOUNT;
extern VLOX_API const char* const PARA_APP_ACCOUNT_LIST;
extern VLOX_API const char* const PARA_APP_ID;
extern VLOX_API const char* const PARA_ARTICLES_LIST;
extern VLOX_API const char* const PARA_ARTICLE_BLOCK;
extern VLOX_API const char* const PARA_ARTICLE_BLOCK_ID;
extern VLOX_API const char* const PARA_ARTICLE_ID;
extern VLOX_API const char* const PARA_AUTHOR;
extern VLOX_API const char* const PARA_AUTH_MODE;
extern VLOX_API const char* const PARA_BID;
extern VLOX_API const char* const PARA_BUDDY_VLOX_ID;
extern VLOX_API const char* const PARA_BUNDLEID;
extern VLOX_API const char* const PARA_CALLEE_VLOXID;
extern VLOX_API const char* const PARA_CALLER;
extern VLOX_API const char* const PARA_CALLID;
extern VLOX_API const char* const PARA_CALL_CALLEE_DETAIL_LIST;
extern VLOX_API const char* const PARA_CALL_CALLEE_LIST;
extern VLOX_API const char* const PARA_CALL_NAME;
extern VLOX_API const char* const PARA_CALL_TYPE;
extern VLOX_API const char* const PARA_CAPACITY;
extern VLOX_API const char* const PARA_CHAIR_IN_MEETING;
extern VLOX_API const char* const PARA_CHAIR_MAN;
extern VLOX_API const char* const PARA_CHECKSUM;
extern VLOX_API const char* const PARA_CHUNK_COUNT;
extern VLOX_API const char* const PARA_CHUNK_INFO;
extern VLOX_API const char* const PARA_CMDRECIVE_MODE;
extern VLOX_API const char* const PARA_CODE;
extern VLOX_API const char* const PARA_COMMENT;
extern VLOX_API const char* const PARA_CONTENT;
extern VLOX_API const char* const PARA_CONTENT_LENGTH;
extern VLOX_API const char* const PARA_CONTENT_SRC_URL;
extern VLOX_API const char* const PARA_CONTENT_TYPE;
extern VLOX_API const char* const PARA_COUNT;
extern VLOX_API const char* const PARA_COVER_PIC_ID;
extern VLOX_API const char* const PARA_CREATE_TIME;
extern VLOX_API const char* const PARA_CREATION_TIME;
extern VLOX_API const char* const PARA_CREATOR;
extern VLOX_API const char* const PARA_CURRENT_USED_CAPACITY;
extern VLOX_API const char* const PARA_CUSTOM_HEADER_PARAMS;
extern VLOX_API const char* const PARA_DATA;
extern VLOX_API const char* const PARA_DEL_ADMIN_LIST;
extern VLOX_API const char* const PARA_DESC;
extern VLOX_API const char* const PARA_DESCRIPTION;
extern VLOX_API const char* const PARA_DEST_FOLDER_NODE_ID;
extern VLOX_API const char* const PARA_DEST_VLOX_ID;
extern VLOX_API const char* const PARA_DEST_VLOX_ID_TYPE;
extern VLOX_API const char* const PARA_DEVICE_ID;
extern VLOX_API const char* const PARA_DEVICE_LIST;
extern VLOX_API const char* const PARA_DEVICE_OS;
extern VLOX_API const char* const PARA_DEVICE_TYPE;
extern VLOX_API const char* const PARA_DISK_ID;
extern VLOX_API const char* const PARA_ENABLE;
extern VLOX_API const char* const PARA_ENCRYPT;
extern VLOX_API const char* const PARA_ENDTIME;
extern VLOX_API const char* const PARA_EXPIREDTIME;
extern VLOX_API const char* const PARA_EXP_TIME;
extern VLOX_API const char* const PARA_EXTRAINFO;
extern VLOX_API const char* const PARA_EXTRA_INFO;
extern VLOX_API const char* const PARA_EXT_INFO;
extern VLOX_API const char* const PARA_FAILED_LIST;
extern VLOX_API const char* const PARA_FEED_ID;
extern VLOX_API const char* const PARA_FILEID;
extern VLOX_API const char* const PARA_FILE_ID;
extern VLOX_API const char* const PARA_FILE_NODE_ID;
extern VLOX_API const char* const PARA_FILE_UUID;
extern VLOX_API const char* const PARA_FOLDER_NODE_ID;
extern VLOX_API const char* const PARA_FOLDER_NODE_NAME;
extern VLOX_API const char* const PARA_FOLLOWER_OPEN_ID;
extern VLOX_API const char* const PARA_FROM;
extern VLOX_API const char* const PARA_FROM_VLOXID;
extern VLOX_API const char* const PARA_FULL_PATH;
extern VLOX_API const char* const PARA_GROUPID_LIST;
extern VLOX_API const char* const PARA_GROUP_ACCOUNT;
extern VLOX_API const char* const PARA_GROUP_DESC;
extern VLOX_API const char* const PARA_GROUP_MEMBER_COUNT;
extern VLOX_API const char* const PARA_GROUP_VLOX_ID;
extern VLOX_API const char* const PARA_GROUP_NAME;
extern VLOX_API const char* const PARA_GROUP_TYPE;
extern VLOX_API const char* const PARA_IMGPOLICY;
extern VLOX_API const char* const PARA_INCREMENTAL;
extern VLOX_API const char* const PARA_INITIATOR;
extern VLOX_API const char* const PARA_INTRODUCE;
extern VLOX_API const char* const PARA_INVITEE;
extern VLOX_API const char* const PARA_INVITEE_LIST;
extern VLOX_API const char* const PARA_INVITEE_ROLE;
extern VLOX_API const char* const PARA_INVITER;
extern VLOX_API const char* const PARA_INVITE_MODE;
extern VLOX_API const char* const PARA_INVITE_NOW;
extern VLOX_API const char* const PARA_ISCLOSE;
extern VLOX_API const char* const PARA_ISDELETED;
extern VLOX_API const char* const PARA_ISOPEN;
extern VLOX_API const char* const PARA_ISOWNER;
extern VLOX_API const char* const PARA_ISTOP;
extern VLOX_API const char* const PARA_JOIN_LIST;
extern VLOX_API const char* const PARA_KEYWORDS;
extern VLOX_API const char* const PARA_KICKOUT;
extern VLOX_API const char* const PARA_KICKOUT_VLOXID_LIST;
extern VLOX_API const char* const PARA_LAST_ACTION;
extern VLOX_API const char* const PARA_LOGO_URL;
extern VLOX_API const char* const PARA_MAX_ATTENDEE;
extern VLOX_API const char* const PARA_MD5;
extern VLOX_API const char* const PARA_MEDIA_TYPE;
extern VLOX_API const char* const PARA_MEMBER;
extern VLOX_API const char* const PARA_MEMBERID_LIST;
extern VLOX_API const char* const PARA_MEMBER_ID;
extern VLOX_API const char* const PARA_MEMBER_ID_LIST;
extern VLOX_API const char* const PARA_MEMBER_LIST;
extern VLOX_API const char* const PARA_MEMBER_VLOXID;
extern VLOX_API const char* const PARA_MESSAGETYPE;
extern VLOX_API const char* const PARA_MIME;
extern VLOX_API const char* const PARA_MODE;
extern VLOX_API const char* const PARA_MSGID;
extern VLOX_API const char* const PARA_VLOXID;
extern VLOX_API const char* const PARA_VLOXID_LIST;
extern VLOX_API const char* const PARA_MUTE_STATUS;
extern VLOX_API const char* const PARA_MYSTATUS;
extern VLOX_API const char* const PARA_NAME;
extern VLOX_API const char* const PARA_NEW_DEVICE_TYPE;
extern VLOX_API const char* const PARA_NEW_STATUS;
extern VLOX_API const char* const PARA_NICK_NAME;
extern VLOX_API const char* const PARA_NODE_ID;
extern VLOX_API const char* const PARA_NODE_ID_LIST;
extern VLOX_API const char* const PARA_NOTIFICATION_GROUPID;
extern VLOX_API const char* const PARA_NOTIFICATION_PAYLOAD;
extern VLOX_API const char* const PARA_OAC_ID;
extern VLOX_API const char* const PARA_OAC_MSG_TYPE;
extern VLOX_API const char* const PARA_OAC_NAME;
extern VLOX_API const char* const PARA_OAC_TYPE;
extern VLOX_API const char* const PARA_OFFLINE_SIGNAL;
extern VLOX_API const char* const PARA_OLD_DEVICE_TYPE;
extern VLOX_API const char* const PARA_OLD_STATUS;
extern VLOX_API const char* const PARA_OPEN_ID;
extern VLOX_API const char* const PARA_OPTIONS;
extern VLOX_API const char* const PARA_OPTION_ID;
extern VLOX_API const char* const PARA_OPTION_IDS;
extern VLOX_API const char* const PARA_OPTION_LIST;
extern VLOX_API const char* const PARA_OPTION_RESULT_LIST;
extern VLOX_API const char* const PARA_OWNER;
extern VLOX_API const char* const PARA_PARAMS;
extern VLOX_API const char* const PARA_PARENTID;
extern VLOX_API const char* const PARA_PARENT_FOLDER_NODE_ID;
extern VLOX_API const char* const PARA_PASSWORD;
extern VLOX_API const char* const PARA_PATENTREPLYID;
extern VLOX_API const char* const PARA_POLICY;
extern VLOX_API const char* const PARA_POS;
extern VLOX_API const char* const PARA_PRESENT_STATUS;
extern VLOX_API const char* const PARA_PRIORITY;
extern VLOX_API const char* const PARA_PUBLISH_TIMESTAMP;
extern VLOX_API const char* const PARA_PUSHKITTOKEN;
extern VLOX_API const char* const PARA_PUSHTOKEN;
extern VLOX_API const char* const PARA_QUESTION;
extern VLOX_API const char* const PARA_QUESTIONS;
extern VLOX_API const char* const PARA_QUESTION_ID;
extern VLOX_API const char* const PARA_QUESTION_LIST;
extern VLOX_API const char* const PARA_QUESTION_TITLE;
extern VLOX_API const char* const PARA_QUESTION_TYPE;
extern VLOX_API const char* const PARA_QUIT_LIST;
extern VLOX_API const char* const PARA_REASON;
extern VLOX_API const char* const PARA_REPLYCONTENT;
extern VLOX_API const char* const PARA_REPLYID;
extern VLOX_API const char* const PARA_REPLYTYPE;
extern VLOX_API const char* const PARA_REPLY_LEVEL;
extern VLOX_API const char* const PARA_REQID;
extern VLOX_API const char* const PARA_RETURN_CODE;
extern VLOX_API const char* const PARA_ROLE;
extern VLOX_API const char* const PARA_SECRET_KEY;
extern VLOX_API const char* const PARA_SEQID;
extern VLOX_API const char* const PARA_SEQ_ID;
extern VLOX_API const char* const PARA_SESSION_KEY;
extern VLOX_API const char* const PARA_SHARED_NODE_LIST;
extern VLOX_API const char* const PARA_SHARED_TIME;
extern VLOX_API const char* const PARA_SHARE_ID;
extern VLOX_API const char* const PARA_SHARE_ID_LIST;
extern VLOX_API const char* const PARA_SHOW_COVER_PIC;
extern VLOX_API const char* const PARA_SIGNATURE;
extern VLOX_API const char* const PARA_SIZE;
extern VLOX_API const char* const PARA_SNAPSHOT_STRATEGY;
extern VLOX_API const char* const PARA_SPEAK;
extern VLOX_API const char* const PARA_SPONSOR;
extern VLOX_API const char* const PARA_SRC_DISKID;
extern VLOX_API const char* const PARA_SRC_VLOXID;
extern VLOX_API const char* const PARA_SRC_NODE_ID_LIST;
extern VLOX_API const char* const PARA_STARTTIME;
extern VLOX_API const char* const PARA_STATUS;
extern VLOX_API const char* const PARA_SUCCESS_LIST;
extern VLOX_API const char* const PARA_SUGGESTION;
extern VLOX_API const char* const PARA_SUGGESTION_ANSWER_LIST;
extern VLOX_API const char* const PARA_SUGGESTION_RESULT_LIST;
extern VLOX_API const char* const PARA_TAG;
extern VLOX_API const char* const PARA_TARGETVLOXID;
extern VLOX_API const char* const PARA_TATGET;
extern VLOX_API const char* const PARA_TITLE;
extern VLOX_API const char* const PARA_TOKEN;
extern VLOX_API const char* const PARA_TOLIST;
extern VLOX_API const char* const PARA_TOPICTYPE;
extern VLOX_API const char* const PARA_TOPIC_GROUPRELATION_LIST;
extern VLOX_API const char* const PARA_TOPIC_ID;
extern VLOX_API const char* const PARA_TOPIC_INFO;
extern VLOX_API const char* const PARA_TOPIC_LIST;
extern VLOX_API const char* const PARA_TOPIC_NAME;
extern VLOX_API const char* const PARA_TOPIC_OPTION_LIST;
extern VLOX_API const char* const PARA_TOPIC_QUESTION_LIST;
extern VLOX_API const char* const PARA_TOPIC_REPLYS;
extern VLOX_API const char* const PARA_TOPIC_STATUS;
extern VLOX_API const char* const PARA_TOPIC_VOTE;
extern VLOX_API const char* const PARA_TO_MEMBERID;
extern VLOX_API const char* const PARA_TO_VLOXID_LIST;
extern VLOX_API const char* const PARA_UPDATE_POLICY;
extern VLOX_API const char* const PARA_UPLOADER;
extern VLOX_API const char* const PARA_UPLOAD_TIME;
extern VLOX_API const char* const PARA_VERSION;
extern VLOX_API const char* const PARA_VISIBILITY_POLICY;
extern VLOX_API const char* const PARA_VISIBLEID;
extern VLOX_API const char* const PARA_VOTE_ID;
extern VLOX_API const char* const PARA_VOTE_TITLE;
extern VLOX_API const char* const PARA_VOTE_TYPE;
extern VLOX_API const char* const PARA_ZIP;
extern VLOX_API const char* const PARM_CRYPTO_ALG;
extern VLOX_API const char* const PARM_CRYPTO_ALG_ASYM;
extern VLOX_API const char* const PARM_CRYPTO_ALG_SYM;
extern VLOX_API const char* const PARM_SUPPORT_SIMPLE_LOGIN;
extern VLOX_API const char* const PATA_NODE_INFO_LIST;

// Keys of message and file records
extern VLOX_API const char* const FIELD_APPACCOUNT;
extern VLOX_API const char* const FIELD_ATTR_KEY;
extern VLOX_API const char* const FIELD_ATTR_VALUE;
extern VLOX_API const char* const FIELD_BODIES;
extern VLOX_API const char* const FIELD_BODY_TYPE;
extern VLOX_API const char* const FIELD_BUSINESS_TYPE;
extern VLOX_API const char* const FIELD_CHAT_TYPE;
extern VLOX_API const char* const FIELD_CHUNK_LENGTH;
extern VLOX_API const char* const FIELD_CHUNK_OFFSET_LEFT;
extern VLOX_API const char* const FIELD_CHUNK_OFFSET_RIGTH;
extern VLOX_API const char* const FIELD_CHUNK_SEQ;
extern VLOX_API const char* const FIELD_CHUNK_SIZE;
extern VLOX_API const char* const FIELD_CHUNK_UUID;
extern VLOX_API const char* const FIELD_CMD_CODE;
extern VLOX_API const char* const FIELD_CONTENT_TYPE;
extern VLOX_API const char* const FIELD_DIGEST;
extern VLOX_API const char* const FIELD_DISK_ID;
extern VLOX_API const char* const FIELD_DURATION;
extern VLOX_API const char* const FIELD_EXPTIME;
extern VLOX_API const char* const FIELD_EXT_ATTR;
extern VLOX_API const char* const FIELD_FILE_BULK;
extern VLOX_API const char* const FIELD_FILE_DURATION;
extern VLOX_API const char* const FIELD_FILE_ENCRYPT;
extern VLOX_API const char* const FIELD_FILE_EXTRAINFO;
extern VLOX_API const char* const FIELD_FILE_ID;
extern VLOX_API const char* const FIELD_FILE_NAME;
extern VLOX_API const char* const FIELD_FILE_OPTION;
extern VLOX_API const char* const FIELD_FILE_PATH;
extern VLOX_API const char* const FIELD_FILE_SIZE;
extern VLOX_API const char* const FIELD_FILE_TAG;
extern VLOX_API const char* const FIELD_GROUP_ID;
extern VLOX_API const char* const FIELD_GROUP_MEMBER_COUNT;
extern VLOX_API const char* const FIELD_GROUP_VERSION;
extern VLOX_API const char* const FIELD_HTTP_REQUESR_DATA;
extern VLOX_API const char* const FIELD_HTTP_REQUESR_TYPE;
extern VLOX_API const char* const FIELD_HTTP_RESULT_DATA;
extern VLOX_API const char* const FIELD_IMAGE_POLICY;
extern VLOX_API const char* const FIELD_MESSAGE_CMD;
extern VLOX_API const char* const FIELD_MESSAGE_DATA;
extern VLOX_API const char* const FIELD_MESSAGE_FROM;
extern VLOX_API const char* const FIELD_MESSAGE_ID;
extern VLOX_API const char* const FIELD_MESSAGE_TO;
extern VLOX_API const char* const FIELD_MIME_TYPE;
extern VLOX_API const char* const FIELD_VLOXID;
extern VLOX_API const char* const FIELD_NEED_REPLY;
extern VLOX_API const char* const FIELD_NODE_NAME;
extern VLOX_API const char* const FIELD_NODE_SIZE;
extern VLOX_API const char* const FIELD_NOTIFICATION_SUBTYPE;
extern VLOX_API const char* const FIELD_NOTIFICATION_TYPE;
extern VLOX_API const char* const FIELD_PARENT_FOLDER_NODE_ID;
extern VLOX_API const char* const FIELD_PRIORITY;
extern VLOX_API const char* const FIELD_PUSH_TYPE;
extern VLOX_API const char* const FIELD_RECEIVED_BUSINESSTYPE;
extern VLOX_API const char* const FIELD_RECEIVED_MESSAGEDATA;
extern VLOX_API const char* const FIELD_RECEIVED_MESSAGETYPE;
extern VLOX_API const char* const FIELD_SEQ_ID;
extern VLOX_API const char* const FIELD_SIZE;
extern VLOX_API const char* const FIELD_TEXT;
extern VLOX_API const char* const FIELD_TIME_STAMP;
extern VLOX_API const char* const FIELED_PAYLOAD;
extern VLOX_API const char* const FILED_NOTIFICATION_PAYLOAD;
extern VLOX_API const char* const FILED_RECEIVED_NOTIFICATIONFROM;
extern VLOX_API const char* const FILED_RECEIVED_NOTIFICATIONGROUPID;

// Others
extern VLOX_API const char* const CA_CERT_PATH;           ///< key of a CA certificate path
extern VLOX_API const char* const CLOUDDISK_FILE_TAG;     ///< tag of a file task of the cloud disk
extern VLOX_API const char* const COMMON_FILE_TAG;        ///< tag of an ordinary file task
extern VLOX_API const char* const EXT_INFO;               ///< extension member
extern VLOX_API const char* const OPTION;                 ///< short code that the modules give its meaning
extern VLOX_API const char* const IMAGE_WIDTH;            ///< image policy: width
extern VLOX_API const char* const IMAGE_HEIGHT;           ///< image policy: height
extern VLOX_API const char* const IMAGE_QUALITY;          ///< image policy: quality
extern VLOX_API const char* const IMAGE_SCAILING_POLICY;  ///< image policy: scaling
/// image policy: whether a thumbnail larger than the image is made
extern VLOX_API const char* const IMAGE_IS_PROCESS_BIGGER_THUMBNAIL;
extern VLOX_API const char* const MESSAGESTATUS_RECEIVE_LIST;  ///< message status list: received
extern VLOX_API const char* const MESSAGESTATUS_READ_LIST;     ///< message status list: read
extern VLOX_API const char* const MESSAGESTATUS_READ_LIST_1;   ///< message status list: read, second form
extern VLOX_API const char* const MESSAGESTATUS_REVOKE_LIST;   ///< message status list: revoked
extern VLOX_API const char SYMBOL_AND;                         ///< separator of query fields
extern VLOX_API const char SYMBOL_EQUAL;                       ///< separator of a field's key and value

}  // extern "C"

#endif
