/// @file
/// @brief The plain functions: all that an application needs to run the library.
///
/// An application calls initialize() once, createVloxClient() per application id and account, sets the
/// client's configuration, loads its business modules, and at the end unloads them, releases the clients
/// (vloxlib::VLOXBase::releaseClient) and calls destroySDK().
///
/// Text is 8-bit and ends with a NUL unless told otherwise. Results are 0 for success unless told otherwise.
/// Threads: initialize() is for one thread; all others may be called from any.
#ifndef WIN32_VLOXCOMMONLIB_H
#define WIN32_VLOXCOMMONLIB_H

#include <vloxlib/ConfigKey.h>
#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <map>
#include <string>

namespace vloxlib {
class VloxModuleAbstract;
}

/// @brief What initialize() does about logging.
struct SdkLogParam {
    int logLevel;        ///< for set_logger_level()
    int debugOutput;     ///< others than 0: log lines go to the debugger's output too
    const char* logDir;  ///< directory of the log files; null for no logger at all
};

extern "C" {

/// @brief Starts the library: the logger, the process's context with the device's identity, the network
/// watching.
///
/// A repeated call writes the context again; the logger stays as the first call made it, closed after
/// destroySDK(). In the child of a fork a call starts the network watching that the parent had; clients and
/// settings are those of the parent at the fork.
/// @param dataDir where the library keeps its files
/// @param deviceType 0 to 7; the meaning of each is the application's
/// @return 0; -201, and nothing touched, for a null dataDir or a deviceType out of range
/// @note An exception of a log file that can't be opened passes through.
VLOX_API int initialize(SdkLogParam logParam, const char* dataDir, int deviceType);
/// @brief Closes the logger, and does nothing else: no client is released and no thread stopped. A second
/// call returns when the first has closed it. @return 0
VLOX_API int destroySDK();
VLOX_API void enableBreakPad();  ///< Does nothing.

/// @brief The client of this application and account, made on first need.
/// @return the client's id; -1 for a null or empty text
VLOX_API __int64 createVloxClient(const char* appId, const char* vloxId);
/// @brief Registers a module with a client; nothing happens for an unknown client.
/// @param module made by `new`, since unloadModule() deletes it; the caller's again when it throws
VLOX_API void loadModule(__int64 clientId, vloxlib::VloxModuleAbstract* module);
/// @brief Takes a module out of its client and deletes it, also when it throws; for an unknown client nothing
/// happens and it stays alive.
VLOX_API void unloadModule(__int64 clientId, vloxlib::VloxModuleAbstract* module);

/// @return 0, also for a key out of range, which is ignored; -1 for an unknown client
VLOX_API int setConfigInt(__int64 clientId, vloxlib::_ConfigKey key, int value);
/// @return 0, also for a key out of range, which is ignored; -1 for an unknown client or a null or empty
/// value
VLOX_API int setConfigStr(__int64 clientId, vloxlib::_ConfigKey key, const char* value);
/// @return the value, 0 for an unset key; -1 for an unknown client, which can't be told from a stored -1
VLOX_API int getConfigInt(__int64 clientId, vloxlib::_ConfigKey key);
/// @brief Copies a value, the empty text for an unset key.
/// @return 0; -1 for an unknown client, a null dst or a value that doesn't fit with its terminator
VLOX_API int getConfigStr(__int64 clientId, vloxlib::_ConfigKey key, char* dst, int dstLen);
/// @brief Copies the client's account.
/// @param dst long enough for the account, and zeroed beforehand: no terminator is written
/// @return false for an unknown client or a null dst
VLOX_API bool getCurrentVloxId(__int64 clientId, char* dst);

/// @brief Copies srcLen bytes and writes a terminator behind them.
/// @param dstLen bytes at dst, the terminator's included
/// @return 0; -1 when it doesn't fit or an argument is no text or length, dst being untouched
VLOX_API int copy_string(char* dst, int dstLen, const char* src, int srcLen);
VLOX_API bool isEmpty(const char* text);  ///< @return true for null and for the empty text
/// @brief Takes the data out of a service's result text.
/// @param data stays as it is when there is none, which is no failure
/// @return the result's "returnCode"; -112 when the text isn't a JSON object with one
VLOX_API int getDataStrFromResultStr(const std::string& resultStr, std::string& data);
/// @brief Copies the result that stands under a key. @return -1010 for an unknown key, else as copy_string()
VLOX_API int getLatesResult(const std::map<std::string, std::string>& results, const std::string& key,
                            char* dst, int dstLen);

}  // extern "C"

#endif
