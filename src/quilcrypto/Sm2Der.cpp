#include "quilcrypto/Sm2Der.h"

namespace vloxlib::sm2 {

using namespace sm9::der;

sm9::Bytes writeCipher(const CipherFields& fields) {
    sm9::Bytes contents;
    appendNumber(contents, fields.x);
    appendNumber(contents, fields.y);
    appendValue(contents, TAG_OCTET_STRING, fields.c3);
    appendValue(contents, TAG_OCTET_STRING, fields.c2);
    sm9::Bytes der;
    appendValue(der, TAG_SEQUENCE, contents);
    return der;
}

std::optional<CipherFields> readCipher(sm9::ByteView der) {
    Reader outer(der);
    const std::optional<sm9::ByteView> sequence = outer.take(TAG_SEQUENCE);
    if (!sequence || !outer.atEnd()) return std::nullopt;
    Reader reader(*sequence);
    const std::optional<Number> x = reader.takeNumber();
    const std::optional<Number> y = x ? reader.takeNumber() : std::nullopt;
    const std::optional<sm9::ByteView> c3 = y ? reader.take(TAG_OCTET_STRING) : std::nullopt;
    const std::optional<sm9::ByteView> c2 = c3 ? reader.take(TAG_OCTET_STRING) : std::nullopt;
    if (!c2 || !reader.atEnd() || c3->size != kCheckSize) return std::nullopt;
    return CipherFields{*x, *y, *c3, *c2};
}

}  // namespace vloxlib::sm2
