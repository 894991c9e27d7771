#include "vloxlib/http/FileParam.h"

namespace vloxlib {

FileParam::FileParam() = default;
FileParam::~FileParam() = default;

FileParam::FileParam(const FileParam& other)
    : m_filePath(other.m_filePath), m_cancel(other.m_cancel.load()), m_file(other.m_file) {}

FileParam& FileParam::operator=(const FileParam& other) {
    m_filePath = other.m_filePath;
    m_cancel = other.m_cancel.load();
    m_file = other.m_file;
    return *this;
}

UploadFileParm::UploadFileParm() = default;
UploadFileParm::UploadFileParm(const UploadFileParm&) = default;
UploadFileParm& UploadFileParm::operator=(const UploadFileParm&) = default;
UploadFileParm::~UploadFileParm() = default;

DownloadFileParm::DownloadFileParm() = default;
DownloadFileParm::DownloadFileParm(const DownloadFileParm&) = default;
DownloadFileParm& DownloadFileParm::operator=(const DownloadFileParm&) = default;
DownloadFileParm::~DownloadFileParm() = default;

}  // namespace vloxlib
