/// @file
/// @brief What an application sees of the message module: a factory, commands and events.
///
/// Commands and events carry JSON text. Events of a command come on the caller's thread before the command
/// returns; results and retries come on threads of the module. A listener must not call the SDK and should be
/// quick.
#ifndef MESSAGES_MESSAGES_H
#define MESSAGES_MESSAGES_H

#include <messages/Export.h>
#include <vloxlib/Types.h>

namespace vloxlib {
class VloxModuleAbstract;
}

/// Commands.
enum MessagesCommand : int {
    /// Repairs what an earlier run left behind and starts working. {"delivered":[ids that the application
    /// has]}
    MESSAGES_START = 1,
    /// Stores one message. {"line":n,"message":any JSON value}; of an object the members type (text, card,
    /// location,
    /// notice), priority (1 to 99, 1 first) and qos (forever, process, once, timeout) count.
    MESSAGES_SEND = 2
};

/// Events.
enum MessagesEvent : int {
    MESSAGES_STARTED = 1,  ///< {"tasks":n,"results":n,"interrupted":n}: what an earlier run left behind
    MESSAGES_STORED = 2,   ///< {"line":n,"id":text}
    MESSAGES_KNOWN = 3,    ///< the same; it was stored before, by this run or an earlier one
    MESSAGES_REFUSED = 4,  ///< the same; the store can't take it
    MESSAGES_RETRY = 5,    ///< {"id":text,"code":n,"attempt":n}: sent without success, will be sent again
    /// {"id":text,"code":n,"data":text}. What the listener answers with true is removed and doesn't come
    /// again, unless the process ends in between.
    MESSAGES_RESULT = 6,
    /// {"requests":n,"unreached":n,"failures":{code:n},"stages":{name:{...}},"store":path}: the counts and
    /// times of this run, at its end, when the module is unloaded
    MESSAGES_REPORTED = 7
};

/// The result of a message that was not to outlive the process in which it was stored.
constexpr int MESSAGES_CODE_INTERRUPTED = -20001;

extern "C" {

/// @return for MESSAGES_RESULT, whether the application has taken it; otherwise ignored
typedef bool (*MessagesListener)(void* context, int event, const char* json);

/// @brief The module, for loadModule(); unloadModule() stops and deletes it.
/// @param storeName name of the module's store in the data directory
/// @param senders how many requests are under way at one time
MESSAGES_API vloxlib::VloxModuleAbstract* createMessagesModule(const char* storeName, int senders,
                                                               MessagesListener listener, void* context);

/// Sends a command to the client's message module.
MESSAGES_API void commandMessages(__int64 clientId, int command, const char* json);

}  // extern "C"

#endif
