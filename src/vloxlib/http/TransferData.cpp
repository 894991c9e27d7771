#include "vloxlib/http/TransferData.h"

#include <algorithm>
#include <utility>

#include "vloxlib/http/FileParam.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

TransferData::TransferData(DataType type, HttpClient* client) : m_type(type), m_httpClient(client) {}

void TransferData::holdText(std::string text) { m_text = std::make_unique<std::string>(std::move(text)); }

// Without a buffer, so that a full disk shows in the write that hits it and not after the end.
void TransferData::holdFile(const char* path, const char* mode) {
    m_file.reset(FileUtil::fopen(path, mode));
    if (m_file) {
        std::setvbuf(m_file.get(), nullptr, _IONBF, 0);
    } else {
        VLOX_LOG(4, "fail to open %s", path);
    }
}

void TransferData::clearData() {
    m_text.reset();
    m_file.reset();
}

void* TransferData::getData() const {
    return m_type == DATA_TYPE_FILE ? static_cast<void*>(m_file.get()) : m_text.get();
}

ReceivedData::ReceivedData(int capacity, DataType) : TransferData(DATA_TYPE_STRING, nullptr) {
    std::string text;
    text.reserve(static_cast<std::size_t>(std::max(capacity, 0)));
    holdText(std::move(text));
}

ReceivedData::ReceivedData(HttpClient* client, DataType) : TransferData(DATA_TYPE_PRIVATE, client) {}

ReceivedData::ReceivedData(const char* path, HttpClient* client, DataType)
    : TransferData(DATA_TYPE_FILE, client) {
    const bool download = client->getFileType() == FILE_OPERATE_DOWNLOAD;
    const bool append = download && static_cast<DownloadFileParm*>(client->getFileParam())->m_mode == 1;
    holdFile(path, append ? "ab+" : "wb");
}

ReceivedData::ReceivedData(const char* path, DataType) : TransferData(DATA_TYPE_FILE, nullptr) {
    holdFile(path, "wb");
}

ReceivedData::ReceivedData(DataType) : TransferData(DATA_TYPE_PRIVATE, nullptr) {}

SendData::SendData(const std::string& text, DataType) : TransferData(DATA_TYPE_STRING, nullptr) {
    holdText(text);
}

SendData::SendData(const char* path, HttpClient* client, DataType) : TransferData(DATA_TYPE_FILE, client) {
    holdFile(path, "rb");
}

}  // namespace vloxlib
