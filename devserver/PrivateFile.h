#ifndef DEVSERVER_PRIVATEFILE_H
#define DEVSERVER_PRIVATEFILE_H

#include <filesystem>
#include <string>

namespace devserver {

/// Writes a file that its owner alone can read, and its directory where there is none.
/// Throws std::runtime_error.
void writePrivateFile(const std::filesystem::path& file, const std::string& content);

/// The empty text for a file that can't be read.
std::string readFile(const std::filesystem::path& file);

}  // namespace devserver

#endif
