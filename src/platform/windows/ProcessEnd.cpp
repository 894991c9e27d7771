#include "platform/ProcessEnd.h"

#include <windows.h>

#include <winternl.h>

extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress(void);  // in no header, but in every ntdll

namespace vloxlib::platform {

// The system first ends the threads and then tells each library that the process goes down.
bool isLastThread() { return RtlDllShutdownInProgress() != FALSE; }

}  // namespace vloxlib::platform
