#ifndef VLOXLIB_UTILITY_LOGGEDCONTENT_H
#define VLOXLIB_UTILITY_LOGGEDCONTENT_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief What log lines show of parameters, replies and results that can't be read: the text itself, as from
/// the start, or only its length and the names of its members, for logs that others may see.
///
/// For the whole process, from any thread. Lines below level 3 aren't concerned: their level is for those who
/// want to see content.
VLOX_API void setContentLogged(bool whole);

/// @brief A text as setContentLogged() wants it in a log line.
VLOX_API std::string loggedContent(const std::string& text);

}  // namespace vloxlib

#endif
