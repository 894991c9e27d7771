#include "platform/FileOpen.h"

namespace vloxlib::platform {

std::FILE* openFile(const std::string& path, const char* mode) { return std::fopen(path.c_str(), mode); }

bool seekFile(std::FILE* file, long long offset) { return fseeko(file, offset, SEEK_SET) == 0; }

}  // namespace vloxlib::platform
