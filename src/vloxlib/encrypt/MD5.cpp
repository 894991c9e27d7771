#include "vloxlib/encrypt/MD5.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/MD5Engine.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "platform/FileOpen.h"
#include "vloxlib/utility/FileHandle.h"

namespace vloxlib {

namespace {

constexpr std::size_t kBuffer = 8192;

// A file that is to be read to its end. Some systems open a directory like a file and only then fail to read
// it.
FileHandle content(const std::string& path) {
    if (Poco::File(path).isDirectory()) {
        throw Poco::OpenFileException(path);
    }
    return openFile(path, "rb");
}

// Takes in at most so many bytes from where the file stands.
// Gives how many there were, or -1 when they can't be read: a digest of what came would be that of another
// file.
__int64 feed(Poco::MD5Engine& engine, std::FILE* file, __int64 most) {
    std::vector<char> buffer(kBuffer);
    __int64 fed = 0;
    for (std::size_t got = buffer.size(); got > 0 && fed < most;) {
        got = std::fread(buffer.data(), 1, static_cast<std::size_t>(std::min<__int64>(kBuffer, most - fed)),
                         file);
        engine.update(buffer.data(), got);
        fed += static_cast<__int64>(got);
    }
    return std::ferror(file) == 0 ? fed : -1;
}

std::string text(Poco::MD5Engine& engine) { return Poco::DigestEngine::digestToHex(engine.digest()); }

}  // namespace

std::string MD5::md5(const std::string& data) {
    Poco::MD5Engine engine;
    engine.update(data);
    return text(engine);
}

std::string MD5::md5File(const std::string& path) {
    try {
        Poco::MD5Engine engine;
        return feed(engine, content(path).get(), std::numeric_limits<__int64>::max()) < 0 ? "" : text(engine);
    } catch (const Poco::Exception&) {
        return std::string();
    }
}

std::string MD5::md5Chunk(const std::string& path, __int64 offset, __int64 length) {
    try {
        const FileHandle file = content(path);
        const __int64 size = platform::fileLength(file.get());
        if (offset < 0 || offset > size || length > size - offset ||
            !platform::seekFile(file.get(), offset)) {
            return std::string();
        }
        Poco::MD5Engine engine;
        const __int64 wanted = std::max<__int64>(length, 0);
        return feed(engine, file.get(), wanted) == wanted ? text(engine) : "";
    } catch (const Poco::Exception&) {
        return std::string();
    }
}

}  // namespace vloxlib
