#include <openssl/rand.h>
#include <quilcrypto/sm9/ConstantTime.h>
#include <quilcrypto/sm9/Scalar.h>

#include <array>

namespace vloxlib::sm9 {

std::optional<Word256> readScalar(ByteView bytes, const Word256& limit) {
    if (bytes.size != kScalarSize) return std::nullopt;
    const Word256 k = fromBigEndian(bytes.data);
    if (isZero(k) || !isBelow(k, limit)) return std::nullopt;
    return k;
}

bool drawScalar(Word256& k, const Word256& limit) {
    Secret<std::array<std::uint8_t, kScalarSize>> bytes;
    std::optional<Word256> drawn;
    while (!drawn) {
        if (RAND_priv_bytes(bytes->data(), static_cast<int>(bytes->size())) != 1) return false;
        drawn = readScalar({bytes->data(), bytes->size()}, limit);
    }
    k = *drawn;
    OPENSSL_cleanse(&*drawn, sizeof *drawn);
    return true;
}

}  // namespace vloxlib::sm9
