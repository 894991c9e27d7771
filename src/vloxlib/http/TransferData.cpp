#include "vloxlib/http/TransferData.h"

#include <algorithm>
#include <utility>

namespace vloxlib {

TransferData::TransferData(DataType type, HttpClient* client) : m_type(type), m_httpClient(client) {}

void TransferData::holdText(std::string text) { m_text = std::make_unique<std::string>(std::move(text)); }

void TransferData::clearData() { m_text.reset(); }

void* TransferData::getData() const { return m_text.get(); }

ReceivedData::ReceivedData(int capacity, DataType) : TransferData(DATA_TYPE_STRING, nullptr) {
    std::string text;
    text.reserve(static_cast<std::size_t>(std::max(capacity, 0)));
    holdText(std::move(text));
}

ReceivedData::ReceivedData(HttpClient* client, DataType) : TransferData(DATA_TYPE_PRIVATE, client) {}

ReceivedData::ReceivedData(DataType) : TransferData(DATA_TYPE_PRIVATE, nullptr) {}

SendData::SendData(const std::string& text, DataType) : TransferData(DATA_TYPE_STRING, nullptr) {
    holdText(text);
}

}  // namespace vloxlib
