#include "Digest.h"

#include <Poco/MD5Engine.h>
#include <vloxlib/utility/FileUtil.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace files {

std::string digestOf(const std::string& path, const Transfers& transfers, Progress& progress) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(vloxlib::FileUtil::fopen(path, "rb"),
                                                               &std::fclose);
    Poco::MD5Engine engine;
    std::vector<char> piece(1 << 18);
    while (file && !transfers.stopped()) {
        const std::size_t got = std::fread(piece.data(), 1, piece.size(), file.get());
        engine.update(piece.data(), got);
        progress.add(static_cast<int64>(got));
        if (got < piece.size()) {
            return std::ferror(file.get()) != 0 ? "" : Poco::DigestEngine::digestToHex(engine.digest());
        }
    }
    return "";
}

}  // namespace files
