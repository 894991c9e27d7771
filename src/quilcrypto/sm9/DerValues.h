/// @file
/// @brief The DER values that cipher texts and keys are made of. Strict: one value has one form.
#ifndef QUILCRYPTO_SM9_DERVALUES_H
#define QUILCRYPTO_SM9_DERVALUES_H

#include <quilcrypto/sm9/Bytes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace vloxlib::sm9::der {

enum Tag : std::uint8_t {
    TAG_INTEGER = 0x02,
    TAG_BIT_STRING = 0x03,
    TAG_OCTET_STRING = 0x04,
    TAG_SEQUENCE = 0x30
};

using Number = std::array<std::uint8_t, 32>;  ///< big-endian

/// @brief Takes values off the front of a stretch of bytes.
class Reader {
public:
    explicit Reader(ByteView bytes) : m_rest(bytes) {}

    bool atEnd() const { return m_rest.empty(); }
    /// @brief The contents of the value in front. @return nothing when it has another tag, isn't whole, or
    /// its length isn't in the shortest form.
    std::optional<ByteView> take(Tag tag);
    /// @brief An INTEGER from 0 to 2^256 - 1. @return nothing, too, for one with a needless byte in front.
    std::optional<Number> takeNumber();

private:
    ByteView m_rest;
};

/// @brief Length of a whole value with contents of this length.
std::size_t valueSize(std::size_t length);
void appendHeader(Bytes& out, Tag tag, std::size_t length);
void append(Bytes& out, ByteView bytes);
void appendValue(Bytes& out, Tag tag, ByteView contents);
void appendNumber(Bytes& out, const Number& number);

}  // namespace vloxlib::sm9::der

#endif
