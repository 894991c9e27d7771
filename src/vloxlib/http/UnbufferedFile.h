#ifndef VLOXLIB_HTTP_UNBUFFEREDFILE_H
#define VLOXLIB_HTTP_UNBUFFEREDFILE_H

#include <string>

#include "vloxlib/http/OpenFile.h"

namespace vloxlib {

/// @brief Opens a file without a buffer: libcurl's pieces are large, and a full disk shows in the write that
/// hits it.
OpenFile openUnbuffered(const std::string& path, const char* mode);

/// @brief Closes a file, where there is one. @return false when what was written may not be there
bool closeFile(OpenFile file);

}  // namespace vloxlib

#endif
