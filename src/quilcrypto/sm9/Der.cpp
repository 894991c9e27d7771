#include <quilcrypto/sm9/Der.h>

#include <algorithm>

namespace vloxlib::sm9 {
namespace {

enum Tag : std::uint8_t {
    TAG_INTEGER = 0x02,
    TAG_BIT_STRING = 0x03,
    TAG_OCTET_STRING = 0x04,
    TAG_SEQUENCE = 0x30
};

constexpr std::uint8_t kUncompressed = 0x04;
constexpr std::uint8_t kPointPrefix[] = {0x00, kUncompressed};  // no unused bits in the BIT STRING
constexpr std::uint8_t kXorEnType = 0;

// Takes values off the front of a stretch of bytes.
class Reader {
public:
    explicit Reader(ByteView bytes) : m_rest(bytes) {}

    bool atEnd() const { return m_rest.empty(); }

    // The contents of the value in front; nothing when it has another tag or isn't whole.
    std::optional<ByteView> take(Tag tag) {
        if (m_rest.size < 2 || m_rest.data[0] != tag) return std::nullopt;
        std::size_t header = 2;
        std::size_t length = m_rest.data[1];
        if (length >= 0x80) {
            const std::size_t count = length - 0x80;
            if (count == 0 || count > sizeof(std::size_t) || m_rest.size - header < count)
                return std::nullopt;
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

    // A BIT STRING that holds an uncompressed point: its x || y.
    std::optional<ByteView> takePoint() {
        const std::optional<ByteView> bits = take(TAG_BIT_STRING);
        if (!bits || bits->size != sizeof kPointPrefix + kG1Size) return std::nullopt;
        if (!std::equal(std::begin(kPointPrefix), std::end(kPointPrefix), bits->data)) return std::nullopt;
        return ByteView(bits->data + sizeof kPointPrefix, kG1Size);
    }

private:
    ByteView m_rest;
};

std::size_t headerSize(std::size_t length) {
    std::size_t size = 2;
    if (length >= 0x80) {
        for (; length != 0; length >>= 8) ++size;
    }
    return size;
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

void appendPoint(Bytes& out, ByteView xy) {
    appendHeader(out, TAG_BIT_STRING, sizeof kPointPrefix + xy.size);
    append(out, {kPointPrefix, sizeof kPointPrefix});
    append(out, xy);
}

std::size_t cipherContentsSize(std::size_t c2Size) {
    return valueSize(1) + valueSize(sizeof kPointPrefix + kG1Size) + valueSize(kCheckSize) +
           valueSize(c2Size);
}

}  // namespace

std::size_t cipherDerSize(std::size_t c2Size) { return valueSize(cipherContentsSize(c2Size)); }

Bytes writeCipher(const CipherFields& fields) {
    Bytes der;
    der.reserve(cipherDerSize(fields.c2.size));
    appendHeader(der, TAG_SEQUENCE, cipherContentsSize(fields.c2.size));
    appendHeader(der, TAG_INTEGER, 1);
    der.push_back(kXorEnType);
    appendPoint(der, fields.c1);
    appendHeader(der, TAG_OCTET_STRING, fields.c3.size);
    append(der, fields.c3);
    appendHeader(der, TAG_OCTET_STRING, fields.c2.size);
    append(der, fields.c2);
    return der;
}

std::optional<CipherFields> readCipher(ByteView der) {
    Reader outer(der);
    const std::optional<ByteView> sequence = outer.take(TAG_SEQUENCE);
    if (!sequence || !outer.atEnd()) return std::nullopt;
    Reader reader(*sequence);
    const std::optional<ByteView> enType = reader.take(TAG_INTEGER);
    if (!enType || enType->size != 1 || enType->data[0] != kXorEnType) return std::nullopt;
    const std::optional<ByteView> c1 = reader.takePoint();
    const std::optional<ByteView> c3 = c1 ? reader.take(TAG_OCTET_STRING) : std::nullopt;
    const std::optional<ByteView> c2 = c3 ? reader.take(TAG_OCTET_STRING) : std::nullopt;
    if (!c2 || !reader.atEnd() || c3->size != kCheckSize) return std::nullopt;
    return CipherFields{*c1, *c3, *c2};
}

Bytes writeMasterPublicKey(ByteView point) {
    Bytes der;
    appendHeader(der, TAG_SEQUENCE, valueSize(sizeof kPointPrefix + point.size));
    appendPoint(der, point);
    return der;
}

std::optional<ByteView> readMasterPublicKey(ByteView der) {
    Reader outer(der);
    Reader inner(der);
    if (const std::optional<ByteView> sequence = outer.take(TAG_SEQUENCE)) {
        if (!outer.atEnd()) return std::nullopt;
        inner = Reader(*sequence);
    }
    const std::optional<ByteView> point = inner.takePoint();
    if (!point || !inner.atEnd()) return std::nullopt;
    return point;
}

}  // namespace vloxlib::sm9
