#ifndef VLOXLIB_HTTP_ROOTBUNDLEFILE_H
#define VLOXLIB_HTTP_ROOTBUNDLEFILE_H

#include <string>

namespace vloxlib {

class ConfigManager;

/// @brief Writes the built-in root certificates into a folder "certificate" of the data directory, unless
/// they stand there, and their path into the configuration: for programs that want them as a file.
/// @return 0, -110 when the folder can't be made, -105 when the file can't be written
int writeRootBundle(const std::string& dataDir, ConfigManager& config);

}  // namespace vloxlib

#endif
