/// @file
/// @brief From the services' positive codes to the library's negative ones.
///
/// A code is only a number: there are no message texts, and its meaning is agreed with the application.
#ifndef VLOXLIB_ERRORCODES_H
#define VLOXLIB_ERRORCODES_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief The native code of a service's code.
///
/// A value below 1 is native already and comes back as it stands, 0 (success) included. The 15xxx family
/// keeps its wire value. A number that nobody has assigned gives -199, "unknown".
VLOX_API int wireCodeToNative(int wireCode);

VLOX_API int convertInternalErrorCode(int code);  ///< @return the code itself
/// @return the number at the start of the text; 0, which reads as success, for a text that begins otherwise
VLOX_API int convertInternalErrorCode(std::string code);

}  // namespace vloxlib

#endif
