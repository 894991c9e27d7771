#ifndef WIN32_VLOXMODULEABSTRACT_H
#define WIN32_VLOXMODULEABSTRACT_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// @brief What a business module implements: a separate library, loaded into a client by loadModule().
///
/// The meaning of target, command and data is agreed between the modules and the application.
/// Threads: called on the thread that registers or dispatches, one call at a time in the whole process; a
/// slow module holds up all others. A module may call VLOXBase from within, but not add or remove modules of
/// the same client while a command is under way. Ownership: the application's, until unloadModule() deletes
/// it.
/// @note The order of the virtual operations is part of the binary interface.
class VLOX_API VloxModuleAbstract {
public:
    virtual void onModuleRegistered(__int64 clientId) = 0;
    virtual void onModuleUnregistered() = 0;
    virtual bool acceptsCommand(int target) = 0;  ///< Asked before each command; false skips the module.
    virtual void onSdkEventCmd(int target, const std::string& a, int b, const std::string& c) = 0;
    virtual void onNotificationCmd(int target, int cmd, const std::string& data) = 0;
    virtual void onBusinessCmd(int target, int cmd, const std::string& data) = 0;
    virtual ~VloxModuleAbstract();
};

}  // namespace vloxlib

#endif
