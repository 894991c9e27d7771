/// @file
/// @brief Umbrella header: every public header of the library, nothing else.
#ifndef VLOX_COMMON_H
#define VLOX_COMMON_H

#include <vloxlib/ConfigKey.h>
#include <vloxlib/ConfigManager.h>
#include <vloxlib/Context.h>
#include <vloxlib/ErrorCodes.h>
#include <vloxlib/InstancesHolder.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/NumberText.h>
#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/Types.h>
#include <vloxlib/UserInfo.h>
#include <vloxlib/http/HttpClient.h>
#include <vloxlib/http/HttpRequestShare.h>
#include <vloxlib/http/HttpTypes.h>
#include <vloxlib/http/TransferData.h>
#include <vloxlib/log/FunctionName.h>
#include <vloxlib/log/vloxLog.h>
#include <vloxlib/network/NetworkChangedListener.h>
#include <vloxlib/network/NetworkInfo.h>
#include <vloxlib/network/NetworkMonitor.h>
#include <vloxlib/thread/Windows/Runnable.h>
#include <vloxlib/thread/Windows/WindowsCondition.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <vloxlib/thread/Windows/WindowsThread.h>
#include <vloxlib/utility/FileUtil.h>
#include <vloxlib/utility/RapidJsonUtils.h>
#include <vloxlib/utility/StringUtils.h>
#include <win32/VLOXBase.h>
#include <win32/VloxModuleAbstract.h>
#include <win32/VloxNetWorkStateMonitor.h>
#include <win32/vloxCommonlib.h>

#endif
