#include <quilcrypto/sm9/Der.h>
#include <quilcrypto/sm9/DerValues.h>

#include <algorithm>

namespace vloxlib::sm9 {
namespace {

using namespace der;

constexpr std::uint8_t kUncompressed = 0x04;
constexpr std::uint8_t kPointPrefix[] = {0x00, kUncompressed};  // no unused bits in the BIT STRING
constexpr std::uint8_t kXorEnType = 0;

// A BIT STRING that holds an uncompressed point: its x || y.
std::optional<ByteView> takePoint(Reader& reader) {
    const std::optional<ByteView> bits = reader.take(TAG_BIT_STRING);
    if (!bits || bits->size != sizeof kPointPrefix + kG1Size) return std::nullopt;
    if (!std::equal(std::begin(kPointPrefix), std::end(kPointPrefix), bits->data)) return std::nullopt;
    return ByteView(bits->data + sizeof kPointPrefix, kG1Size);
}

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
    appendValue(der, TAG_INTEGER, {&kXorEnType, 1});
    appendPoint(der, fields.c1);
    appendValue(der, TAG_OCTET_STRING, fields.c3);
    appendValue(der, TAG_OCTET_STRING, fields.c2);
    return der;
}

std::optional<CipherFields> readCipher(ByteView der) {
    Reader outer(der);
    const std::optional<ByteView> sequence = outer.take(TAG_SEQUENCE);
    if (!sequence || !outer.atEnd()) return std::nullopt;
    Reader reader(*sequence);
    const std::optional<ByteView> enType = reader.take(TAG_INTEGER);
    if (!enType || enType->size != 1 || enType->data[0] != kXorEnType) return std::nullopt;
    const std::optional<ByteView> c1 = takePoint(reader);
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
    const std::optional<ByteView> point = takePoint(inner);
    if (!point || !inner.atEnd()) return std::nullopt;
    return point;
}

}  // namespace vloxlib::sm9
