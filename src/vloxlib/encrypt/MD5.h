#ifndef VLOXLIB_ENCRYPT_MD5_H
#define VLOXLIB_ENCRYPT_MD5_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// @brief MD5 digests as 32 lower-case hexadecimal digits. A checksum for transfers, no
/// protection against anyone.
///
/// All operations are static, hold no state and may be called from any thread. Paths are UTF-8. Nothing is
/// logged or thrown: what can't be read gives the empty string.
class VLOX_API MD5 : public Noncopyable {
public:
    static std::string md5(const std::string& data);
    static std::string md5File(const std::string& path);
    /// The digest of one stretch of a file.
    /// @param offset in bytes from the beginning
    /// @param length in bytes; below 1 gives the digest of nothing
    /// @return the empty string also when the stretch begins before the file or reaches beyond its end
    static std::string md5Chunk(const std::string& path, __int64 offset, __int64 length);
};

}  // namespace vloxlib

#endif
