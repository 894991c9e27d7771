#include "platform/FileOpen.h"

#include <windows.h>

#include "platform/windows/WideText.h"

namespace vloxlib::platform {

std::FILE* openFile(const std::string& path, const char* mode) {
    const std::string narrowMode = std::string(mode) + 'N';  // not for the programs that this one starts
    const std::wstring wideMode(narrowMode.begin(), narrowMode.end());
    return _wfopen(toWide(path).c_str(), wideMode.c_str());
}

void makePrivateFile(const std::string&) {}

bool makePrivateFolder(const std::string& path) {
    return CreateDirectoryW(toWide(path).c_str(), nullptr) != 0;
}

bool seekFile(std::FILE* file, long long offset) { return _fseeki64(file, offset, SEEK_SET) == 0; }

}  // namespace vloxlib::platform
