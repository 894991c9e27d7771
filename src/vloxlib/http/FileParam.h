/// @file
/// @brief The records of a file transfer.
#ifndef VLOXLIB_HTTP_FILEPARAM_H
#define VLOXLIB_HTTP_FILEPARAM_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <atomic>
#include <cstdio>
#include <string>

namespace vloxlib {

/// @brief What both directions have in common. A copy has a cancel flag of its own, with the same value.
class VLOX_API FileParam {
public:
    FileParam();
    FileParam(const FileParam& other);
    FileParam& operator=(const FileParam& other);
    ~FileParam();

    std::string m_filePath;             ///< Of the local file, UTF-8.
    std::atomic<bool> m_cancel{false};  ///< Set by HttpClient::httpCancel(), from any thread.
    std::FILE* m_file = nullptr;        ///< The open file during an upload; not owned.
};

/// @brief An upload of a file, or of the slice from m_left to the byte before m_right. Offsets are in bytes.
class VLOX_API UploadFileParm : public FileParam {
public:
    UploadFileParm();
    UploadFileParm(const UploadFileParm&);
    UploadFileParm& operator=(const UploadFileParm&);
    ~UploadFileParm();

    bool isSlice() const { return m_left >= 0 && m_right >= 0; }

    std::string m_key;      ///< Name of the form part.
    int64 m_left = -1;      ///< First byte of the slice; -1 when the whole file goes.
    int64 m_right = -1;     ///< First byte behind the slice; -1 when the whole file goes.
    int64 m_readBytes = 0;  ///< Bytes of the slice already read; grows meanwhile, and goes back at the end.
};

/// @brief A download into a file.
class VLOX_API DownloadFileParm : public FileParam {
public:
    DownloadFileParm();
    DownloadFileParm(const DownloadFileParm&);
    DownloadFileParm& operator=(const DownloadFileParm&);
    ~DownloadFileParm();

    int64 m_offset = 0;      ///< Where the download starts, in bytes.
    int m_mode = 0;          ///< 1 appends to the local file, others start it anew.
    bool m_careful = false;  ///< Set by HttpClient::setCarefulDownload().
};

}  // namespace vloxlib

#endif
