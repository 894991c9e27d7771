/// @file
/// @brief Umbrella header: every public header of the library, nothing else.
#ifndef VLOX_COMMON_H
#define VLOX_COMMON_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <vloxlib/log/vloxLog.h>
#include <vloxlib/thread/Windows/Runnable.h>
#include <vloxlib/thread/Windows/WindowsCondition.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <vloxlib/thread/Windows/WindowsThread.h>

#endif
