/// @file
/// @brief The one log call of the library and of the business modules, and the process-wide logger behind it.
///
/// Levels: 0 trace, 1 debug, 2 info, 3 warn, 4 error, 5 critical. Paths are UTF-8, with either separator.
#ifndef VLOXLIB_LOG_VLOXLOG_H
#define VLOXLIB_LOG_VLOXLOG_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/log/FunctionName.h>

// Compilers that know it check the arguments of a log call against its format.
#if defined(__MINGW32__) && !defined(__clang__)
#define VLOX_PRINTF_LIKE(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define VLOX_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define VLOX_PRINTF_LIKE(text, first)
#endif

extern "C" {

/// @brief Makes the process-wide logger, in place of an earlier one, and removes its files older than seven
/// days, now and at each change of day.
///
/// The file of a day is named after the path: "dir/windows_sdk.log" gives "dir/windows_sdk_2019-09-26.log".
/// The level starts at 2. Lines are written by one thread of the logger's own: an error at once, others after
/// ten lines or two seconds.
/// @param name the logger's name; null or empty refuses the logger: no file is made and every line is
/// dropped.
/// @param path the file's path before the date is put in; null or empty refuses the logger too.
/// @param debugOutput also sends the lines to the debugger, on systems that have such an output.
/// @throws spdlog::spdlog_ex (a std::exception) when the file can't be opened; an earlier logger then stays.
/// @note Not to be called from two threads at once. After close_logger() a logger has no writing thread any
/// more: its lines are lost with a complaint on the standard error output.
VLOX_API void create_logger(const char* name, const char* path, bool debugOutput);

/// @brief Writes out what is queued, closes the file and ends the writing thread; later lines vanish.
///
/// Where the disk doesn't answer for two seconds, the rest is left, and the standard error output tells how
/// many lines that is. Any number of times, from any thread, also while the process exits or in a forked
/// child.
VLOX_API void close_logger();

/// @brief Lines below the level are dropped from now on. Levels outside 0 to 5 are ignored.
VLOX_API void set_logger_level(int level);

/// @brief Logs one line; prefer VLOX_LOG(), which fills in the call site.
///
/// Threads: any, at any time; lines of one thread keep their order. The caller formats and enqueues; it waits
/// only while 2048 lines are queued. All texts are copied before the call returns.
/// @param sourceFile the source file as compiled; directories are cut off, whichever separator they use.
/// @param function the qualified name of the calling function.
/// @param format a printf format; the text is cut to 2048 bytes. What follows a line break in it begins with
/// a tab, and control characters are written as "\x1b" and the like.
/// @return 0; no meaning to the caller. Errors of writing never reach it.
VLOX_API int vloxprint_v2(int level, const char* sourceFile, const char* function, int line,
                          const char* format, ...) VLOX_PRINTF_LIKE(5, 6);

/// @brief Copies the log files last written between two times, with all that was logged before the call;
/// where the disk doesn't answer for two seconds, without it. A log is never copied onto one.
/// @param destination an existing directory, into which each file goes under its own name. Any other path is
/// taken as one file, which the last of them overwrites.
/// @param begin, end seconds since the epoch, both included; begin is to be less than end.
/// @return 0, also when nothing or not everything could be copied; -1 without a logger.
VLOX_API int collect_sdk_log(const char* destination, __int64 begin, __int64 end);

/// @brief Removes the log files that were last written at or before a time, in seconds since the epoch.
VLOX_API void remove_histroy_log_files(__int64 before);

}  // extern "C"

/// Logs one line, printf-style, with the call site: VLOX_LOG(4, "can't open %s", path).
#define VLOX_LOG(level, ...)                                                              \
    do {                                                                                  \
        static constexpr ::vloxlib::FunctionName<VLOX_FUNCTION_NAME.size()> vloxFunction( \
            VLOX_FUNCTION_NAME);                                                          \
        vloxprint_v2(level, __FILE__, vloxFunction.text, __LINE__, __VA_ARGS__);          \
    } while (false)

#endif
