#include "quilcrypto/Sm2.h"

#include <openssl/crypto.h>
#include <quilcrypto/sm9/Hash.h>
#include <quilcrypto/sm9/Scalar.h>
#include <quilcrypto/sm9/WipedStack.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "quilcrypto/Sm2Der.h"

namespace vloxlib::sm2 {

using sm9::Digest;
using sm9::onWipedStack;
using sm9::Word256;

namespace {

constexpr std::size_t kCoordinate = 32;
constexpr std::size_t kPoint = 1 + 2 * kCoordinate;
constexpr std::uint8_t kUncompressed = 0x04;

const Word256& order() { return GroupOrder::kModulus.value; }

// n - 1: a private key is below it
Word256 privateLimit() {
    std::uint64_t borrow = 0;
    return sm9::subtract(order(), Word256{1, 0, 0, 0}, borrow);
}

// Nothing unless both are below p and the point lies on the curve, whose cofactor is 1.
std::optional<AffinePoint> readPoint(const std::uint8_t* x, const std::uint8_t* y) {
    const std::optional<Fp> first = Fp::fromBytes(x);
    const std::optional<Fp> second = Fp::fromBytes(y);
    if (!first || !second) return std::nullopt;
    const AffinePoint point{*first, *second};
    if (!point.isOnCurve()) return std::nullopt;
    return point;
}

// The point that both ends share, as bytes: what hides a text, and what proves it.
class Shared {
public:
    explicit Shared(const AffinePoint& p) {
        p.x.toBytes(m_xy.data());
        p.y.toBytes(m_xy.data() + kCoordinate);
    }
    // t = KDF(x || y)
    std::optional<SecretBytes> keyStream(std::size_t size) const {
        return sm9::deriveKey({}, {m_xy.data(), m_xy.size()}, {}, size);
    }
    // C3 = SM3(x || text || y)
    std::optional<Digest> check(ByteView text) const {
        return sm9::Sm3()
            .update({m_xy.data(), kCoordinate})
            .update(text)
            .update({m_xy.data() + kCoordinate, kCoordinate})
            .finish();
    }

private:
    std::array<std::uint8_t, 2 * kCoordinate> m_xy;
};

}  // namespace

// C1 = [k]G, and [k]P hides the text.
struct EncryptionKey::State {
    explicit State(const AffinePoint& p) : point(p) {}

    // Nothing, too, where the standard asks for another k.
    std::optional<Bytes> encrypt(const Word256& k, ByteView plain) {
        std::array<Point, 2> products{tableOfGenerator().multiply(k), timesPoint(k)};
        std::array<Fp, 2> inverses{products[0].z, products[1].z};
        sm9::invertAll(inverses);
        std::array<AffinePoint, 2> affine;
        for (std::size_t i = 0; i < 2; ++i)
            affine[i] = {products[i].x * inverses[i], products[i].y * inverses[i]};

        const Shared shared(affine[1]);
        const std::optional<SecretBytes> stream = shared.keyStream(plain.size);
        const std::optional<Digest> check = shared.check(plain);
        if (!stream || !check || !sm9::isUsable(*stream)) return std::nullopt;
        Bytes c2(plain.size);
        sm9::applyKey(*stream, plain, c2.data());
        CipherFields fields{{}, {}, {check->data(), check->size()}, c2};
        affine[0].x.toBytes(fields.x.data());
        affine[0].y.toBytes(fields.y.data());
        return writeCipher(fields);
    }

    Point timesPoint(const Word256& k) {
        if (!m_used.exchange(true, std::memory_order_relaxed)) return sm9::multiply(k, Point::from(point));
        std::call_once(m_tableOnce, [this] { m_table = std::make_unique<PointTable>(Point::from(point)); });
        return m_table->multiply(k);
    }

    const AffinePoint point;

private:
    std::atomic<bool> m_used{false};
    std::once_flag m_tableOnce;
    std::unique_ptr<PointTable> m_table;  // written once, under m_tableOnce
};

EncryptionKey::EncryptionKey(std::unique_ptr<State> state) : m_state(std::move(state)) {}
EncryptionKey::~EncryptionKey() = default;
EncryptionKey::EncryptionKey(EncryptionKey&&) noexcept = default;
EncryptionKey& EncryptionKey::operator=(EncryptionKey&&) noexcept = default;

std::optional<EncryptionKey> EncryptionKey::fromPoint(ByteView point) {
    if (point.size == kPoint && point.data[0] == kUncompressed) point = ByteView(point.data + 1, kPoint - 1);
    if (point.size != kPoint - 1) return std::nullopt;
    const std::optional<AffinePoint> p = readPoint(point.data, point.data + kCoordinate);
    if (!p) return std::nullopt;
    return EncryptionKey(std::make_unique<State>(*p));
}

std::size_t EncryptionKey::capacityFor(std::size_t plainLength) {
    constexpr std::size_t kHeader = 6;  // tag, and a length of up to five bytes
    return kHeader + 2 * (2 + 1 + kCoordinate) + 2 + kCheckSize + kHeader + plainLength;
}

std::optional<Bytes> EncryptionKey::encrypt(ByteView plain) const {
    if (plain.empty()) return std::nullopt;
    return onWipedStack([&]() -> std::optional<Bytes> {
        constexpr int kTries = 100;  // a text of one byte asks for another k once in 256 times
        Word256 k;
        std::optional<Bytes> cipher;
        for (int i = 0; i < kTries && !cipher && sm9::drawScalar(k, order()); ++i)
            cipher = m_state->encrypt(k, plain);
        return cipher;
    });
}

std::optional<Bytes> EncryptionKey::encryptWith(ByteView k, ByteView plain) const {
    if (plain.empty()) return std::nullopt;
    return onWipedStack([&]() -> std::optional<Bytes> {
        const std::optional<Word256> scalar = sm9::readScalar(k, order());
        return scalar ? m_state->encrypt(*scalar, plain) : std::nullopt;
    });
}

std::optional<PrivateKey> PrivateKey::generate() {
    return onWipedStack([]() -> std::optional<PrivateKey> {
        Word256 d;
        if (!sm9::drawScalar(d, privateLimit())) return std::nullopt;
        return PrivateKey(d);
    });
}

std::optional<PrivateKey> PrivateKey::fromScalar(ByteView scalar) {
    return onWipedStack([&]() -> std::optional<PrivateKey> {
        const std::optional<Word256> d = sm9::readScalar(scalar, privateLimit());
        if (!d) return std::nullopt;
        return PrivateKey(*d);
    });
}

PrivateKey::~PrivateKey() { OPENSSL_cleanse(m_d.data(), sizeof m_d); }

SecretBytes PrivateKey::toScalar() const {
    return onWipedStack([&] {
        SecretBytes bytes(kCoordinate);
        sm9::toBigEndian(m_d, bytes.data());
        return bytes;
    });
}

Bytes PrivateKey::toPoint() const {
    return onWipedStack([&] {
        const AffinePoint point = tableOfGenerator().multiply(m_d).toAffine();
        Bytes bytes(kPoint, kUncompressed);
        point.x.toBytes(&bytes[1]);
        point.y.toBytes(&bytes[1 + kCoordinate]);
        return bytes;
    });
}

std::optional<SecretBytes> PrivateKey::decrypt(ByteView der) const {
    return onWipedStack([&]() -> std::optional<SecretBytes> {
        const std::optional<CipherFields> fields = readCipher(der);
        if (!fields || fields->c2.empty()) return std::nullopt;
        const std::optional<AffinePoint> c1 = readPoint(fields->x.data(), fields->y.data());
        if (!c1) return std::nullopt;
        const Shared shared(sm9::multiply(m_d, Point::from(*c1)).toAffine());
        const std::optional<SecretBytes> stream = shared.keyStream(fields->c2.size);
        if (!stream || !sm9::isUsable(*stream)) return std::nullopt;
        SecretBytes plain(fields->c2.size);
        sm9::applyKey(*stream, fields->c2, plain.data());
        const std::optional<Digest> check = shared.check(plain);
        if (!check || CRYPTO_memcmp(check->data(), fields->c3.data, check->size()) != 0) return std::nullopt;
        return plain;
    });
}

}  // namespace vloxlib::sm2
