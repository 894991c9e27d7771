#include "platform/FileOpen.h"

namespace vloxlib::platform {

std::FILE* openFile(const std::string& path, const char* mode) { return std::fopen(path.c_str(), mode); }

}  // namespace vloxlib::platform
