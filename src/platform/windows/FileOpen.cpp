#include "platform/FileOpen.h"

#include "platform/windows/WideText.h"

namespace vloxlib::platform {

std::FILE* openFile(const std::string& path, const char* mode) {
    const std::string narrowMode = mode;
    const std::wstring wideMode(narrowMode.begin(), narrowMode.end());
    return _wfopen(toWide(path).c_str(), wideMode.c_str());
}

bool seekFile(std::FILE* file, long long offset) { return _fseeki64(file, offset, SEEK_SET) == 0; }

}  // namespace vloxlib::platform
