/// @file
/// @brief The one log call of the library and of the business modules, and the process-wide logger behind it.
#ifndef VLOXLIB_LOG_VLOXLOG_H
#define VLOXLIB_LOG_VLOXLOG_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>

extern "C" {

VLOX_API void create_logger(const char* name, const char* path, bool debugOutput);
VLOX_API void close_logger();
VLOX_API void set_logger_level(int level);
VLOX_API int vloxprint_v2(int level, const char* sourceFile, const char* function, int line,
                          const char* format, ...);

}  // extern "C"

#define VLOX_LOG(level, ...) vloxprint_v2(level, __FILE__, __func__, __LINE__, __VA_ARGS__)

#endif
