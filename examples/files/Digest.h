#ifndef FILES_DIGEST_H
#define FILES_DIGEST_H

#include <string>

#include "Progress.h"
#include "Transfers.h"

namespace files {

/// MD5 of a file's content in hexadecimal digits, as the library's MD5 gives it, but with progress and an end
/// on demand. Empty: the file can't be read, or the transfers have been stopped.
std::string digestOf(const std::string& path, const Transfers& transfers, Progress& progress);

}  // namespace files

#endif
