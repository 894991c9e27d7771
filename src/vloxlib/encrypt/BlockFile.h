// The file format of the block ciphers: each block of 16 bytes alone under the key, PKCS#7 padding at the
// end. Memory stays constant whatever the file's length. Both files are closed on every path; what is half
// written stays.
#ifndef VLOXLIB_ENCRYPT_BLOCKFILE_H
#define VLOXLIB_ENCRYPT_BLOCKFILE_H

#include <cstddef>
#include <functional>
#include <string>

namespace vloxlib::blockfile {

constexpr std::size_t kBlock = 16;

enum Result : int {
    kDone = 0,
    kSourceNotOpened = -1,
    kDestinationNotOpened = -2,
    kCutOff = -3,  // the source is no whole number of blocks, or empty
    kNotTransferred = -4,
    kCipherFailed = -5
};

// Transforms a run of whole blocks in place. Returning false ends the routine.
using BlockTransform = std::function<bool(unsigned char* blocks, std::size_t length)>;

// For both: a destination that is the source itself, by whatever path, is none that can be opened.

// Writes the encrypted source into the destination, which is replaced. Blocks are handed over and written in
// runs of at most `run` bytes, a multiple of 16.
Result encrypt(const std::string& source, const std::string& destination, std::size_t run,
               const BlockTransform& transform);

// Appends the decrypted source to the destination. Of the pad only the last byte is looked at, and the length
// of the last block is 16 minus this byte in 8 bits: after a wrong count zero bytes follow the block.
Result decrypt(const std::string& source, const std::string& destination, std::size_t run,
               const BlockTransform& transform);

}  // namespace vloxlib::blockfile

#endif
