/// @file
/// @brief What an application sees of the file module: a factory, commands and events.
///
/// Commands and events carry JSON text. Events that answer a command come on the caller's thread before the
/// command returns; all others come on threads of the module. A listener must not call the SDK and should be
/// quick.
#ifndef FILES_FILES_H
#define FILES_FILES_H

#include <files/Export.h>
#include <vloxlib/Types.h>

namespace vloxlib {
class VloxModuleAbstract;
}

/// Commands.
enum FilesCommand : int {
    /// Repairs what an earlier run left behind and starts working. {"delivered":[ids that the application
    /// has]}
    FILES_START = 1,
    /// Sends a file. {"filePath":text}
    FILES_SEND = 2,
    /// Brings a file back. {"fileUrl":text,"filePath":where to,"fileSize":n,"digest":text}
    FILES_FETCH = 3
};

/// Events.
enum FilesEvent : int {
    FILES_STARTED = 1,   ///< {"tasks":n,"results":n}: what an earlier run left behind
    FILES_ACCEPTED = 2,  ///< Answers a command: {"id":text}. The result will come.
    FILES_KNOWN = 3,     ///< Answers a command: {"id":text}. It was given before, in an earlier run maybe.
    FILES_REFUSED = 4,   ///< Answers a command, or comes later in place of a result: {"id":text,"why":text}
    /// {"id":text,"phase":text,"done":n,"total":n}: bytes; a total of 0: not
    /// known. Phases are "reading", "sending", "checking",
    /// "fetching", "comparing".
    FILES_PROGRESS = 5,
    /// {"id":text,"code":n,"attempt":n}: without success, it will be tried again. Attempts count from the
    /// last one that moved bytes.
    FILES_RETRY = 6,
    /// {"id":text,"code":n,"data":text}. What the listener answers with true is removed and doesn't come
    /// again, unless the process ends in between. data is a JSON object with fileUrl, filePath, fileSize and
    /// digest, or after a failure what the platform said.
    FILES_RESULT = 7
};

/// Codes of the module's own, beside those of the library and of the platform.
constexpr int FILES_CODE_CHANGED = -20101;  ///< the file is another one than when it was given, or gone
constexpr int FILES_CODE_DIGEST = -20102;   ///< what arrived is not what was sent, twice
constexpr int FILES_CODE_TARGET = -20103;   ///< the file can't be put where it belongs
/// The library's code for a disk that doesn't take what is written, mostly because it is full.
constexpr int FILES_CODE_DISK = -823;

extern "C" {

/// @return for FILES_RESULT, whether the application has taken it; otherwise ignored
typedef bool (*FilesListener)(void* context, int event, const char* json);

/// @brief The module, for loadModule(); unloadModule() stops and deletes it.
/// @param storeName name of the module's store in the data directory
/// @param parallel how many slices of a file are under way at one time
FILES_API vloxlib::VloxModuleAbstract* createFilesModule(const char* storeName, int parallel,
                                                         FilesListener listener, void* context);

/// Sends a command to the client's file module.
FILES_API void commandFiles(__int64 clientId, int command, const char* json);

}  // extern "C"

#endif
