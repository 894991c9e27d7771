#include "vloxlib/encrypt/BlockFile.h"

#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "vloxlib/utility/FileHandle.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib::blockfile {

namespace {

struct Files {
    FileHandle source;
    FileHandle destination;
};

Result open(Files& files, const std::string& source, const std::string& destination, const char* mode) {
    files.source.reset(FileUtil::fopen(source, "rb"));
    if (!files.source) {
        return kSourceNotOpened;
    }
    // A file onto itself would be emptied before it is read, or grow as long as it is read.
    if (isSameFile(source, destination)) {
        return kDestinationNotOpened;
    }
    files.destination.reset(FileUtil::fopen(destination, mode));
    return files.destination ? kDone : kDestinationNotOpened;
}

Result write(Files& files, const unsigned char* data, std::size_t length) {
    return std::fwrite(data, 1, length, files.destination.get()) == length ? kDone : kNotTransferred;
}

Result close(Files& files) { return closeWritten(std::move(files.destination)) ? kDone : kNotTransferred; }

Result encryptAll(Files& files, std::size_t run, const BlockTransform& transform) {
    std::vector<unsigned char> buffer(run);
    for (bool last = false; !last;) {
        std::size_t length = std::fread(buffer.data(), 1, run, files.source.get());
        if (std::ferror(files.source.get()) != 0) {
            return kNotTransferred;
        }
        last = length < run;
        if (last) {
            const std::size_t pad = kBlock - length % kBlock;
            std::memset(buffer.data() + length, static_cast<int>(pad), pad);
            length += pad;
        }
        if (!transform(buffer.data(), length)) {
            return kCipherFailed;
        }
        if (write(files, buffer.data(), length) != kDone) {
            return kNotTransferred;
        }
    }
    return close(files);
}

// Decrypts and writes whole blocks, the last of which ends with the pad count.
Result decryptEnd(Files& files, std::vector<unsigned char>& buffer, std::size_t length,
                  const BlockTransform& transform) {
    if (!transform(buffer.data(), length)) {
        return kCipherFailed;
    }
    const auto count = static_cast<unsigned char>(kBlock - buffer[length - 1]);
    const std::size_t end = length - kBlock + count;
    buffer.resize(std::max(end, length));
    if (write(files, buffer.data(), end) != kDone) {
        return kNotTransferred;
    }
    return close(files);
}

Result decryptAll(Files& files, std::size_t run, const BlockTransform& transform) {
    // One block is always held back, because only the end of the file tells the last one from the others.
    std::vector<unsigned char> buffer(kBlock + run);
    std::size_t held = 0;
    for (;;) {
        const std::size_t length =
            held + std::fread(buffer.data() + held, 1, buffer.size() - held, files.source.get());
        if (std::ferror(files.source.get()) != 0) {
            return kNotTransferred;
        }
        const bool more = length == buffer.size();
        const std::size_t whole = length - length % kBlock;
        if (!more && whole == length && length > 0) {
            return decryptEnd(files, buffer, length, transform);
        }
        const std::size_t ready = more ? length - kBlock : whole;
        if (ready > 0 && !transform(buffer.data(), ready)) {
            return kCipherFailed;
        }
        if (write(files, buffer.data(), ready) != kDone) {
            return kNotTransferred;
        }
        if (!more) {
            return kCutOff;
        }
        std::memcpy(buffer.data(), buffer.data() + ready, kBlock);
        held = kBlock;
    }
}

}  // namespace

Result encrypt(const std::string& source, const std::string& destination, std::size_t run,
               const BlockTransform& transform) {
    Files files;
    const Result opened = open(files, source, destination, "wb");
    return opened == kDone ? encryptAll(files, run, transform) : opened;
}

Result decrypt(const std::string& source, const std::string& destination, std::size_t run,
               const BlockTransform& transform) {
    Files files;
    const Result opened = open(files, source, destination, "ab+");
    return opened == kDone ? decryptAll(files, run, transform) : opened;
}

}  // namespace vloxlib::blockfile
