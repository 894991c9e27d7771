#include "vloxlib/encrypt/MD5.h"

#include <Poco/DigestStream.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/MD5Engine.h>
#include <Poco/StreamCopier.h>

#include <algorithm>
#include <sstream>
#include <vector>

namespace vloxlib {

namespace {

constexpr std::size_t kCopyBuffer = 8192;

std::string digestOf(std::istream& data) {
    Poco::MD5Engine engine;
    Poco::DigestOutputStream digest(engine);
    Poco::StreamCopier::copyStream(data, digest, kCopyBuffer);
    digest.close();
    return Poco::DigestEngine::digestToHex(engine.digest());
}

// Some systems open a directory like a file and only then fail to read it.
void refuseDirectory(const std::string& path) {
    if (Poco::File(path).isDirectory()) {
        throw Poco::OpenFileException(path);
    }
}

std::string digestOfStretch(Poco::FileInputStream& file, __int64 length) {
    Poco::MD5Engine engine;
    std::vector<char> buffer(kCopyBuffer);
    __int64 consumed = 0;
    while (consumed < length) {
        file.read(buffer.data(), std::min<std::streamsize>(kCopyBuffer, length - consumed));
        if (file.gcount() == 0) {
            return std::string();  // the file shrank meanwhile
        }
        engine.update(buffer.data(), static_cast<std::size_t>(file.gcount()));
        consumed += file.gcount();
    }
    return Poco::DigestEngine::digestToHex(engine.digest());
}

}  // namespace

std::string MD5::md5(const std::string& data) {
    std::istringstream stream(data);
    return digestOf(stream);
}

std::string MD5::md5File(const std::string& path) {
    try {
        refuseDirectory(path);
        Poco::FileInputStream file(path, std::ios::in | std::ios::binary);
        return digestOf(file);
    } catch (const Poco::Exception&) {
        return std::string();
    }
}

std::string MD5::md5Chunk(const std::string& path, __int64 offset, __int64 length) {
    try {
        refuseDirectory(path);
        Poco::FileInputStream file(path, std::ios::in | std::ios::binary);
        file.seekg(0, std::ios::end);
        const __int64 size = file.tellg();
        if (offset < 0 || offset > size || length > size - offset) {
            return std::string();
        }
        file.seekg(offset, std::ios::beg);
        return digestOfStretch(file, length);
    } catch (const Poco::Exception&) {
        return std::string();
    }
}

}  // namespace vloxlib
