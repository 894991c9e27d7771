// Walks all memory of this process after operations with secrets, the stack's dead part and freed memory
// included, and looks for what they had in their hands. What is looked for comes from a child process and is
// kept masked, so that it stands nowhere else. With the argument "leave" a value is left behind on purpose,
// to prove that it would be found.
#include <quilcrypto/Sm2.h>
#include <quilcrypto/sm9/Curve.h>
#include <quilcrypto/sm9/Hash.h>
#include <quilcrypto/sm9/Pairing.h>
#include <quilcrypto/sm9/Sm9.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"

using namespace vloxlib;
using namespace vloxlib::sm9;

namespace {

constexpr unsigned char kMask = 0xa5;
constexpr std::size_t kPiece = 16;
using Masked = std::vector<unsigned char>;
using Tell = std::function<void(const void* value, std::size_t size)>;

// The pieces of all that the work tells.
std::vector<Masked> fromChild(const std::function<void(const Tell& tell)>& work) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        work([&](const void* value, std::size_t size) {
            for (std::size_t i = 0; i < size; ++i) {
                const unsigned char byte = static_cast<const unsigned char*>(value)[i] ^ kMask;
                if (write(ends[1], &byte, 1) != 1) _exit(1);
            }
        });
        _exit(0);
    }
    close(ends[1]);
    std::vector<Masked> pieces;
    std::FILE* const masked = fdopen(ends[0], "r");
    for (Masked piece(kPiece); std::fread(piece.data(), kPiece, 1, masked) == 1;) pieces.push_back(piece);
    std::fclose(masked);
    waitpid(child, nullptr, 0);
    return pieces;
}

std::vector<std::pair<const unsigned char*, const unsigned char*>> writableMemory() {
    std::vector<std::pair<const unsigned char*, const unsigned char*>> regions;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char access[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, access) == 3 &&
            std::strncmp(access, "rw", 2) == 0) {
            regions.emplace_back(reinterpret_cast<const unsigned char*>(begin),
                                 reinterpret_cast<const unsigned char*>(end));
        }
    }
    return regions;
}

std::size_t countInMemory(const std::vector<Masked>& pieces) {
    std::size_t count = 0;
    for (const auto& [begin, end] : writableMemory()) {
        for (const unsigned char* at = begin; at + kPiece <= end; ++at) {
            for (const Masked& piece : pieces) {
                if ((*at ^ kMask) == piece[0] &&
                    std::equal(piece.begin(), piece.end(), at,
                               [](auto a, auto b) { return a == (b ^ kMask); })) {
                    ++count;
                }
            }
        }
    }
    return count;
}

bool s_good = true;

void expect(std::size_t places, const std::vector<Masked>& pieces, const char* what) {
    const std::size_t found = countInMemory(pieces);
    if (found != places || pieces.empty()) {
        std::printf("%s: %zu of %zu pieces in memory, not %zu\n", what, found, pieces.size(), places);
        s_good = false;
    }
}

// A secret that stands here by its seed only.
SecretBytes secret(unsigned char seed, std::size_t size) {
    SecretBytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(seed + 37 * i + i * i * seed);
    bytes[0] &= 0x7f;  // below the group's order
    return bytes;
}
SecretBytes masterScalar() { return secret(0x31, 32); }
SecretBytes randomNumber() { return secret(0x52, 32); }  // even: its digits are those of n - r
SecretBytes sessionKey() { return secret(0x73, 16); }
const std::string kIdentity = "server@vlox.example";

template <typename T>
void tellValue(const Tell& tell, const T& value) {
    tell(&value, sizeof value);
}

// All that leads from r or from the receiver's key to the session key.
void tellDerivation(const Tell& tell, const Fp12& beforePower, const Fp12& w, ByteView c,
                    std::size_t plainSize) {
    std::array<std::uint8_t, Fp12::kSize> bytes;
    w.toBytes(bytes.data());
    tellValue(tell, beforePower);
    tellValue(tell, finalPowerEasyPart(beforePower));
    tellValue(tell, w);
    tellValue(tell, bytes);
    const SecretBytes key = *deriveKey(c, {bytes.data(), bytes.size()}, kIdentity, plainSize + 32);
    tell(key.data(), key.size());
}

void tellWrap(const Tell& tell) {
    const SecretBytes r = randomNumber();
    const Word256 k = fromBigEndian(r.data());
    std::uint64_t borrow = 0;
    const MasterKey centre = *MasterKey::fromBytes(masterScalar());
    const EncryptionKey key(centre.parameters(), kIdentity);
    const G1Point point = multiply(k, G1Point::from(*readG1(centre.parameters().toPoint().data())));
    tell(r.data(), r.size());
    tellValue(tell, k);
    tellValue(tell, subtract(GroupOrder::kModulus.value, k, borrow));
    tellValue(tell, (Fn::fromInteger(k) * *hashToScalar(kIdentity)).toInteger());
    tellValue(tell, point);
    const Bytes c = key.encapsulateWith(r, 16)->cipher;
    tellDerivation(tell, millerLoop(point, preparedP2()), pairing(point, preparedP2()), c, 16);
    tell(sessionKey().data(), 16);
}

void tellUnwrap(const Tell& tell, const Bytes& der) {
    const MasterKey centre = *MasterKey::fromBytes(masterScalar());
    const SecretBytes de = centre.extract(kIdentity)->toBytes();
    const G2Affine point = *readG2(de.data());
    const PreparedG2 lines(point);
    tell(masterScalar().data(), 32);
    tellValue(tell, fromBigEndian(masterScalar().data()));
    tell(de.data(), de.size());
    tellValue(tell, point);
    tell(&lines.lines()[5], sizeof(PreparedG2::Line));
    const Bytes c(der.begin() + 9,
                  der.begin() + 9 + 64);  // behind SEQUENCE, EnType and the point's own header
    const G1Point c1 = G1Point::from(*readG1(c.data()));
    tellDerivation(tell, millerLoop(c1, lines), pairing(c1, lines), c, 16);
    tell(sessionKey().data(), 16);
}

void wrapping() {
    const std::vector<Masked> values = fromChild(tellWrap);
    const SystemParameters parameters =
        *SystemParameters::fromDer(MasterKey::fromBytes(masterScalar())->parameters().toDer());
    const EncryptionKey key(parameters, kIdentity);
    for (const char* use : {"the first wrapping", "a wrapping with tables"}) {
        if (!key.encryptWith(randomNumber(), sessionKey())) s_good = false;
        expect(0, values, use);
    }
    if (!key.encapsulateWith(randomNumber(), 48)) s_good = false;
    expect(0, values, "an encapsulation");
}

void unwrapping() {
    Bytes der = *EncryptionKey(MasterKey::fromBytes(masterScalar())->parameters(), kIdentity)
                     .encryptWith(randomNumber(), sessionKey());
    const std::vector<Masked> values = fromChild([&](const Tell& tell) { tellUnwrap(tell, der); });
    if (!MasterKey::fromBytes(masterScalar())->extract(kIdentity)->decrypt(der)) s_good = false;
    expect(0, values, "extraction and unwrapping");
    der.back() ^= 1;
    if (UserKey::fromBytes(MasterKey::fromBytes(masterScalar())->extract(kIdentity)->toBytes(), kIdentity)
            ->decrypt(der)) {
        s_good = false;
    }
    expect(0, values, "unwrapping of a forgery");
}

void tellSm2(const Tell& tell) {
    const SecretBytes k = randomNumber();
    const Word256 d = fromBigEndian(masterScalar().data());
    const sm2::Point p = sm2::tableOfGenerator().multiply(d);
    std::uint64_t borrow = 0;
    tell(k.data(), k.size());
    tell(masterScalar().data(), 32);
    tellValue(tell, d);
    tellValue(tell, fromBigEndian(k.data()));
    tellValue(tell, subtract(sm2::GroupOrder::kModulus.value, fromBigEndian(k.data()), borrow));
    const sm2::Point shared = multiply(fromBigEndian(k.data()), p);
    std::array<std::uint8_t, 64> xy;
    shared.toAffine().x.toBytes(xy.data());
    shared.toAffine().y.toBytes(xy.data() + 32);
    tellValue(tell, shared);
    tellValue(tell, shared.toAffine());
    tellValue(tell, xy);
    const SecretBytes stream = *deriveKey({}, {xy.data(), xy.size()}, {}, 16);
    tell(stream.data(), stream.size());
    tell(sessionKey().data(), 16);
}

void sm2Both() {
    const std::vector<Masked> values = fromChild(tellSm2);
    const auto key = sm2::EncryptionKey::fromPoint(sm2::PrivateKey::fromScalar(masterScalar())->toPoint());
    for (const char* use : {"the first wrapping with SM2", "one with a table"}) {
        Bytes der = *key->encryptWith(randomNumber(), sessionKey());
        expect(0, values, use);
        if (!sm2::PrivateKey::fromScalar(masterScalar())->decrypt(der)) s_good = false;
        expect(0, values, "unwrapping with SM2");
        der.back() ^= 1;
        if (sm2::PrivateKey::fromScalar(masterScalar())->decrypt(der)) s_good = false;
        expect(0, values, "unwrapping of a forgery with SM2");
    }
}

// Here the library draws the key itself: the child finds it as the server does.
void bridge(SYM_ENCRYPT_TYPE cipher) {
    const Bytes der = MasterKey::fromBytes(masterScalar())->parameters().toDer();
    auto bridge = std::make_unique<EncryptBridge>(cipher, ASYM_SM9, kIdentity,
                                                  Base64::encode(std::string(der.begin(), der.end())));
    const std::vector<Masked> key = fromChild([&](const Tell& tell) {
        const auto unwrapped = MasterKey::fromBytes(masterScalar())
                                   ->extract(kIdentity)
                                   ->decrypt(Base64::decode(bridge->getSecretKeyBase64()));
        tell(unwrapped->data(), unwrapped->size());
    });
    if (bridge->decryptData(bridge->encryptData("text")) != "text") s_good = false;
    bridge->decryptData("no cipher text");
    bridge->symmetricEncryptFile("/proc/self/maps", "/dev/null");
    expect(1, key, "a bridge in use, which holds its key once");
    bridge.reset();
    expect(0, key, "a bridge that is gone");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "leave") == 0) {
        static volatile unsigned char left[kPiece];
        const SecretBytes r = randomNumber();
        std::copy(r.begin(), r.begin() + kPiece, left);
    }
    wrapping();
    unwrapping();
    sm2Both();
    for (const SYM_ENCRYPT_TYPE cipher : {SYM_AES128_CBC, SYM_SM4}) bridge(cipher);
    return s_good ? 0 : 1;
}
