#include <quilcrypto/sm9/Hash.h>

#include <algorithm>
#include <limits>

namespace vloxlib::sm9 {
namespace {

// Fetched once and kept until the process ends: a fetch costs more than a short text.
const EVP_MD* sm3() {
    static const EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SM3", nullptr);
    return algorithm;
}

constexpr std::size_t kHaSize = 40;  // 8 ceil(5 log2(n) / 32) bits
constexpr std::uint8_t kH1Prefix = 0x01;
constexpr std::uint8_t kEncryptionHid = 0x03;

}  // namespace

Sm3::Sm3() : m_context(EVP_MD_CTX_new()), m_good(false) {
    m_good = m_context && sm3() != nullptr && EVP_DigestInit_ex2(m_context.get(), sm3(), nullptr) == 1;
}

Sm3::Sm3(const Sm3& other) : m_context(EVP_MD_CTX_new()), m_good(false) {
    m_good = other.m_good && m_context && EVP_MD_CTX_copy_ex(m_context.get(), other.m_context.get()) == 1;
}

Sm3& Sm3::update(ByteView bytes) {
    m_good = m_good && EVP_DigestUpdate(m_context.get(), bytes.data, bytes.size) == 1;
    return *this;
}

Sm3& Sm3::updateCounter(std::uint32_t counter) {
    const std::uint8_t bytes[] = {
        static_cast<std::uint8_t>(counter >> 24), static_cast<std::uint8_t>(counter >> 16),
        static_cast<std::uint8_t>(counter >> 8), static_cast<std::uint8_t>(counter)};
    return update({bytes, sizeof bytes});
}

std::optional<Digest> Sm3::finish() {
    Digest digest;
    if (!m_good || EVP_DigestFinal_ex(m_context.get(), digest.data(), nullptr) != 1) return std::nullopt;
    return digest;
}

std::optional<Fn> hashToScalar(ByteView identity) {
    Sm3 prefix;
    prefix.update({&kH1Prefix, 1}).update(identity).update({&kEncryptionHid, 1});
    const std::optional<Digest> first = Sm3(prefix).updateCounter(1).finish();
    const std::optional<Digest> second = Sm3(prefix).updateCounter(2).finish();
    if (!first || !second) return std::nullopt;
    std::array<std::uint8_t, kHaSize> ha;
    std::copy(second->begin(), second->begin() + (kHaSize - first->size()),
              std::copy(first->begin(), first->end(), ha.begin()));

    // The first 256 bits are below 2(n - 1), the other 64 come one by one.
    std::uint64_t borrow = 0;
    const Word256 nMinusOne = subtract(GroupOrder::kModulus.value, Word256{1, 0, 0, 0}, borrow);
    Word256 rest = addModPortable(fromBigEndian(ha.data()), Word256{}, nMinusOne);
    for (std::size_t bit = 256; bit < kHaSize * 8; ++bit) {
        const std::uint64_t value = (ha[bit / 8] >> (7 - bit % 8)) & 1U;
        rest = addModPortable(rest, rest, nMinusOne);
        rest = addModPortable(rest, Word256{value, 0, 0, 0}, nMinusOne);
    }
    return Fn::fromInteger(rest) + Fn::one();
}

std::optional<SecretBytes> deriveKey(ByteView c, ByteView w, ByteView identity, std::size_t size) {
    if (size / Digest().size() >= std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    Sm3 prefix;
    prefix.update(c).update(w).update(identity);
    SecretBytes key;
    key.reserve(size);
    for (std::uint32_t counter = 1; key.size() < size; ++counter) {
        std::optional<Digest> block = Sm3(prefix).updateCounter(counter).finish();
        if (!block) return std::nullopt;
        const std::size_t wanted = std::min(block->size(), size - key.size());
        key.insert(key.end(), block->begin(), block->begin() + static_cast<std::ptrdiff_t>(wanted));
        OPENSSL_cleanse(block->data(), block->size());
    }
    return key;
}

std::optional<Digest> checkValue(ByteView key, ByteView text) {
    return Sm3().update(text).update(key).finish();
}

bool isUsable(ByteView key) {
    if (key.empty()) return true;
    std::uint8_t bits = 0;
    for (const std::uint8_t byte : key) bits = static_cast<std::uint8_t>(bits | byte);
    return bits != 0;
}

void applyKey(const SecretBytes& key, ByteView text, std::uint8_t* out) {
    std::transform(text.begin(), text.end(), key.begin(), out,
                   [](std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>(a ^ b); });
}

}  // namespace vloxlib::sm9
