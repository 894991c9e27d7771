#include "vloxlib/http/UnbufferedFile.h"

#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

OpenFile openUnbuffered(const std::string& path, const char* mode) {
    OpenFile file(FileUtil::fopen(path, mode));
    if (file) {
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }
    return file;
}

bool closeFile(OpenFile file) { return !file || std::fclose(file.release()) == 0; }

}  // namespace vloxlib
