#include <openssl/crypto.h>
#include <quilcrypto/sm9/Curve.h>
#include <quilcrypto/sm9/Der.h>
#include <quilcrypto/sm9/Hash.h>
#include <quilcrypto/sm9/Pairing.h>
#include <quilcrypto/sm9/Scalar.h>
#include <quilcrypto/sm9/Sm9.h>
#include <quilcrypto/sm9/WipedStack.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace vloxlib::sm9 {
namespace {

constexpr std::size_t kG2Size = 128;

const Word256& order() { return GroupOrder::kModulus.value; }

// K2: what follows the bytes for the text
ByteView checkKey(const SecretBytes& key, std::size_t textSize) {
    return {key.data() + textSize, key.size() - textSize};
}

// K = KDF(C || w || identity)
std::optional<SecretBytes> deriveKey(ByteView c, const Fp12& w, ByteView identity, std::size_t size) {
    Secret<std::array<std::uint8_t, Fp12::kSize>> bytes;
    w.toBytes(bytes->data());
    return deriveKey(c, {bytes->data(), bytes->size()}, identity, size);
}

}  // namespace

std::optional<SystemParameters> SystemParameters::fromDer(ByteView der) {
    const std::optional<ByteView> point = readMasterPublicKey(der);
    return point ? fromPoint(*point) : std::nullopt;
}

std::optional<SystemParameters> SystemParameters::fromPoint(ByteView xy) {
    SystemParameters parameters;
    if (xy.size != parameters.m_point.size() || !readG1(xy.data)) return std::nullopt;
    std::copy(xy.begin(), xy.end(), parameters.m_point.begin());
    return parameters;
}

Bytes SystemParameters::toDer() const { return writeMasterPublicKey({m_point.data(), m_point.size()}); }

// C = [r]Q with Q = [h]P1 + Ppub-e, and w = g^r with g = e(Ppub-e, P2).
// Once, this is cheapest as R = [r]Ppub-e, C = [r h]P1 + R, w = e(R, P2); again and again, with tables of Q
// and g.
struct EncryptionKey::State {
    State(const G1Point& ppub, ByteView identity)
        : m_ppub(ppub), m_h(hashToScalar(identity)), m_identity(identity.begin(), identity.end()) {}

    struct Derived {
        std::array<std::uint8_t, kG1Size> c;
        SecretBytes key;
    };

    // C and a key for r; nothing where Q is infinity, too, or where the key's first bytes are all zero.
    std::optional<Derived> derive(const Word256& r, std::size_t keySize, std::size_t zeroCheckedSize) {
        std::optional<Derived> derived = deriveOnce(r, keySize);
        if (derived && !isUsable({derived->key.data(), zeroCheckedSize})) return std::nullopt;
        return derived;
    }

    // The same with a random r, and again with another one until the key is usable.
    std::optional<Derived> deriveAtRandom(std::size_t keySize, std::size_t zeroCheckedSize) {
        Secret<Word256> r;
        for (;;) {
            if (!drawScalar(*r, order())) return std::nullopt;
            std::optional<Derived> derived = deriveOnce(*r, keySize);
            if (!derived || isUsable({derived->key.data(), zeroCheckedSize})) return derived;
        }
    }

private:
    struct Tables {
        Tables(const G1Point& ppub, const Fn& h) : ofG(pairing(ppub, preparedP2())) {
            const G1Point q = tableOfP1().multiply(h.toInteger()) + ppub;
            if (!q.isInfinity()) ofQ = std::make_unique<PointTable<Fp>>(q);
        }
        std::unique_ptr<PointTable<Fp>> ofQ;
        GtTable ofG;
    };

    std::optional<Derived> deriveOnce(const Word256& r, std::size_t keySize) {
        if (!m_h) return std::nullopt;
        Secret<G1Point> point;
        Secret<Fp12> w;
        if (isUsedAgain()) {
            std::call_once(m_tablesOnce, [this] { m_tables = std::make_unique<Tables>(m_ppub, *m_h); });
            if (!m_tables->ofQ) return std::nullopt;
            *point = m_tables->ofQ->multiply(r);
            *w = m_tables->ofG.power(r);
        } else {
            const Secret<G1Point> rPpub(multiply(r, m_ppub));
            const Secret<Word256> rh((Fn::fromInteger(r) * *m_h).toInteger());
            *point = tableOfP1().multiply(*rh) + *rPpub;
            *w = pairing(*rPpub, preparedP2());
        }
        if (point->isInfinity()) return std::nullopt;
        Derived derived;
        write(point->toAffine(), derived.c.data());
        std::optional<SecretBytes> key = deriveKey({derived.c.data(), kG1Size}, *w, m_identity, keySize);
        if (!key) return std::nullopt;
        derived.key = std::move(*key);
        return derived;
    }

    bool isUsedAgain() { return m_used.exchange(true, std::memory_order_relaxed); }

    G1Point m_ppub;
    std::optional<Fn> m_h;
    Bytes m_identity;
    std::atomic<bool> m_used{false};
    std::once_flag m_tablesOnce;
    std::unique_ptr<Tables> m_tables;  // written once, under m_tablesOnce
};

namespace {

G1Point pointOf(const SystemParameters& parameters) {
    return G1Point::from(*readG1(parameters.toPoint().data()));  // checked when the parameters were made
}

}  // namespace

EncryptionKey::EncryptionKey(const SystemParameters& parameters, ByteView identity)
    : m_state(std::make_unique<State>(pointOf(parameters), identity)) {}
EncryptionKey::~EncryptionKey() = default;
EncryptionKey::EncryptionKey(EncryptionKey&&) noexcept = default;
EncryptionKey& EncryptionKey::operator=(EncryptionKey&&) noexcept = default;

std::size_t EncryptionKey::cipherSize(std::size_t plainSize) { return cipherDerSize(plainSize); }

namespace {

// C2 = M XOR K1, C3 = MAC(K2, C2)
std::optional<Bytes> seal(ByteView c1, const SecretBytes& key, ByteView plain) {
    Bytes c2(plain.size);
    applyKey(key, plain, c2.data());
    const std::optional<Digest> c3 = checkValue(checkKey(key, plain.size), c2);
    if (!c3) return std::nullopt;
    return writeCipher({c1, {c3->data(), c3->size()}, c2});
}

}  // namespace

std::optional<Bytes> EncryptionKey::encrypt(ByteView plain) const {
    return onWipedStack([&]() -> std::optional<Bytes> {
        const auto derived = m_state->deriveAtRandom(plain.size + kCheckSize, plain.size);
        if (!derived) return std::nullopt;
        return seal({derived->c.data(), kG1Size}, derived->key, plain);
    });
}

std::optional<Bytes> EncryptionKey::encryptWith(ByteView r, ByteView plain) const {
    return onWipedStack([&]() -> std::optional<Bytes> {
        const std::optional<Word256> scalar = readScalar(r, order());
        if (!scalar) return std::nullopt;
        const auto derived = m_state->derive(*scalar, plain.size + kCheckSize, plain.size);
        if (!derived) return std::nullopt;
        return seal({derived->c.data(), kG1Size}, derived->key, plain);
    });
}

std::optional<EncryptionKey::Encapsulation> EncryptionKey::encapsulate(std::size_t keySize) const {
    return onWipedStack([&]() -> std::optional<Encapsulation> {
        if (keySize == 0) return std::nullopt;
        auto derived = m_state->deriveAtRandom(keySize, keySize);
        if (!derived) return std::nullopt;
        return Encapsulation{std::move(derived->key), Bytes(derived->c.begin(), derived->c.end())};
    });
}

std::optional<EncryptionKey::Encapsulation> EncryptionKey::encapsulateWith(ByteView r,
                                                                           std::size_t keySize) const {
    return onWipedStack([&]() -> std::optional<Encapsulation> {
        const std::optional<Word256> scalar = readScalar(r, order());
        if (!scalar || keySize == 0) return std::nullopt;
        auto derived = m_state->derive(*scalar, keySize, keySize);
        if (!derived) return std::nullopt;
        return Encapsulation{std::move(derived->key), Bytes(derived->c.begin(), derived->c.end())};
    });
}

struct UserKey::State {
    State(const G2Affine& point, ByteView id) : de(point), identity(id.begin(), id.end()) {}

    // K from C and w = e(C, de)
    std::optional<SecretBytes> derive(ByteView c, std::size_t keySize) {
        const std::optional<G1Affine> point = readG1(c.data);
        if (!point) return std::nullopt;
        std::call_once(m_linesOnce, [this] { m_lines.emplace(*de); });
        const Secret<Fp12> w(pairing(G1Point::from(*point), *m_lines));
        return deriveKey(c, *w, identity, keySize);
    }

    Secret<G2Affine> de;
    Bytes identity;

private:
    std::once_flag m_linesOnce;
    std::optional<PreparedG2> m_lines;  // written once, under m_linesOnce: a key centre needs none
};

UserKey::UserKey(std::unique_ptr<State> state) : m_state(std::move(state)) {}
UserKey::~UserKey() = default;
UserKey::UserKey(UserKey&&) noexcept = default;
UserKey& UserKey::operator=(UserKey&&) noexcept = default;

std::optional<UserKey> UserKey::fromBytes(ByteView point, ByteView identity) {
    return onWipedStack([&]() -> std::optional<UserKey> {
        if (point.size != kG2Size) return std::nullopt;
        const std::optional<G2Affine> de = readG2(point.data);
        if (!de) return std::nullopt;
        return UserKey(std::make_unique<State>(*de, identity));
    });
}

SecretBytes UserKey::toBytes() const {
    return onWipedStack([&] {
        SecretBytes bytes(kG2Size);
        write(*m_state->de, bytes.data());
        return bytes;
    });
}

std::optional<SecretBytes> UserKey::decrypt(ByteView der) const {
    return onWipedStack([&]() -> std::optional<SecretBytes> {
        const std::optional<CipherFields> fields = readCipher(der);
        if (!fields) return std::nullopt;
        const std::size_t textSize = fields->c2.size;
        const std::optional<SecretBytes> key = m_state->derive(fields->c1, textSize + kCheckSize);
        if (!key) return std::nullopt;
        const std::optional<Digest> check = checkValue(checkKey(*key, textSize), fields->c2);
        if (!check || CRYPTO_memcmp(check->data(), fields->c3.data, check->size()) != 0) return std::nullopt;
        if (!isUsable({key->data(), textSize})) return std::nullopt;
        SecretBytes plain(textSize);
        applyKey(*key, fields->c2, plain.data());
        return plain;
    });
}

std::optional<SecretBytes> UserKey::decapsulate(ByteView cipher, std::size_t keySize) const {
    return onWipedStack([&]() -> std::optional<SecretBytes> {
        if (cipher.size != kG1Size || keySize == 0) return std::nullopt;
        std::optional<SecretBytes> key = m_state->derive(cipher, keySize);
        if (!key || !isUsable(*key)) return std::nullopt;
        return key;
    });
}

std::optional<MasterKey> MasterKey::generate() {
    return onWipedStack([&]() -> std::optional<MasterKey> {
        Secret<Word256> ke;
        if (!drawScalar(*ke, order())) return std::nullopt;
        MasterKey key;
        toBigEndian(*ke, key.m_scalar.data());
        return key;
    });
}

std::optional<MasterKey> MasterKey::fromBytes(ByteView scalar) {
    return onWipedStack([&]() -> std::optional<MasterKey> {
        if (!readScalar(scalar, order())) return std::nullopt;
        MasterKey key;
        std::copy(scalar.begin(), scalar.end(), key.m_scalar.begin());
        return key;
    });
}

MasterKey::~MasterKey() { OPENSSL_cleanse(m_scalar.data(), m_scalar.size()); }

SecretBytes MasterKey::toBytes() const { return SecretBytes(m_scalar.begin(), m_scalar.end()); }

// Ppub-e = [ke]P1
SystemParameters MasterKey::parameters() const {
    return onWipedStack([&] {
        const Secret<Word256> ke(fromBigEndian(m_scalar.data()));
        SystemParameters parameters;
        write(tableOfP1().multiply(*ke).toAffine(), parameters.m_point.data());
        return parameters;
    });
}

// t1 = H1(identity || hid, n) + ke, t2 = ke t1^-1, de = [t2]P2
std::optional<UserKey> MasterKey::extract(ByteView identity) const {
    return onWipedStack([&]() -> std::optional<UserKey> {
        const std::optional<Fn> h = hashToScalar(identity);
        if (!h) return std::nullopt;
        const Secret<Fn> ke(Fn::fromInteger(fromBigEndian(m_scalar.data())));
        const Secret<Fn> t1(*h + *ke);
        if (t1->isZero()) return std::nullopt;
        const Secret<Word256> t2((*ke * t1->inverse()).toInteger());
        const Secret<G2Affine> de(tableOfP2().multiply(*t2).toAffine());
        return UserKey(std::make_unique<UserKey::State>(*de, identity));
    });
}

}  // namespace vloxlib::sm9
