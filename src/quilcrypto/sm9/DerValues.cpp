#include <quilcrypto/sm9/DerValues.h>

#include <algorithm>

namespace vloxlib::sm9::der {
namespace {

constexpr std::uint8_t kSignBit = 0x80;

std::size_t headerSize(std::size_t length) {
    std::size_t size = 2;
    if (length >= 0x80) {
        for (; length != 0; length >>= 8) ++size;
    }
    return size;
}

}  // namespace

std::optional<ByteView> Reader::take(Tag tag) {
    if (m_rest.size < 2 || m_rest.data[0] != tag) return std::nullopt;
    std::size_t header = 2;
    std::size_t length = m_rest.data[1];
    if (length >= 0x80) {
        const std::size_t count = length - 0x80;
        if (count == 0 || count > sizeof(std::size_t) || m_rest.size - header < count) return std::nullopt;
        if (m_rest.data[header] == 0) return std::nullopt;
        length = 0;
        for (std::size_t i = 0; i < count; ++i) length = (length << 8) | m_rest.data[header + i];
        if (length < 0x80) return std::nullopt;
        header += count;
    }
    if (m_rest.size - header < length) return std::nullopt;
    const ByteView contents(m_rest.data + header, length);
    m_rest = ByteView(m_rest.data + header + length, m_rest.size - header - length);
    return contents;
}

std::optional<Number> Reader::takeNumber() {
    const std::optional<ByteView> contents = take(TAG_INTEGER);
    if (!contents || contents->empty() || (contents->data[0] & kSignBit) != 0) return std::nullopt;
    ByteView digits = *contents;
    if (digits.data[0] == 0 && digits.size > 1) {
        digits = ByteView(digits.data + 1, digits.size - 1);
        if ((digits.data[0] & kSignBit) == 0) return std::nullopt;  // the zero in front wasn't needed
    }
    Number number{};
    if (digits.size > number.size()) return std::nullopt;
    std::copy(digits.begin(), digits.end(), number.end() - static_cast<std::ptrdiff_t>(digits.size));
    return number;
}

std::size_t valueSize(std::size_t length) { return headerSize(length) + length; }

void appendHeader(Bytes& out, Tag tag, std::size_t length) {
    out.push_back(tag);
    const std::size_t count = headerSize(length) - 2;
    if (count != 0) out.push_back(static_cast<std::uint8_t>(0x80 + count));
    for (std::size_t i = std::max<std::size_t>(count, 1); i-- > 0;) {
        out.push_back(static_cast<std::uint8_t>(length >> (8 * i)));
    }
}

void append(Bytes& out, ByteView bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

void appendValue(Bytes& out, Tag tag, ByteView contents) {
    appendHeader(out, tag, contents.size);
    append(out, contents);
}

void appendNumber(Bytes& out, const Number& number) {
    const auto first =
        std::find_if(number.begin(), number.end() - 1, [](std::uint8_t byte) { return byte != 0; });
    const bool signedOff = (*first & kSignBit) != 0;  // a zero in front keeps it positive
    const auto size = static_cast<std::size_t>(number.end() - first);
    appendHeader(out, TAG_INTEGER, size + (signedOff ? 1 : 0));
    if (signedOff) out.push_back(0);
    append(out, {&*first, size});
}

}  // namespace vloxlib::sm9::der
