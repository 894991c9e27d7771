#include "platform/FileOpen.h"

#include <io.h>
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

long long fileLength(std::FILE* file) {
    const long long length = _fseeki64(file, 0, SEEK_END) == 0 ? _ftelli64(file) : -1;
    return _fseeki64(file, 0, SEEK_SET) == 0 ? length : -1;
}

bool syncFile(std::FILE* file) { return std::fflush(file) == 0 && _commit(_fileno(file)) == 0; }

}  // namespace vloxlib::platform
