#ifndef VLOXLIB_DATABASE_FILEPAYLOAD_H
#define VLOXLIB_DATABASE_FILEPAYLOAD_H

#include <string>

namespace vloxlib {

enum class FileRow { TASK, RESULT };

// Converts the JSON payload of a file row from the older layout, in which the request type told cloud disk
// files from others, to the one with a tag. A payload of another request type, or whose data is no object,
// stays as it is. Returns false when the payload, or the JSON text inside it, doesn't parse; it then stays as
// it is too.
bool convertFilePayload(FileRow row, std::string& payload);

}  // namespace vloxlib

#endif
