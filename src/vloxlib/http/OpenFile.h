/// @file
/// @brief A file of the C library, closed with its holder.
#ifndef VLOXLIB_HTTP_OPENFILE_H
#define VLOXLIB_HTTP_OPENFILE_H

#include <cstdio>
#include <memory>

namespace vloxlib {

/// Closes a file of the C library.
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace vloxlib

#endif
