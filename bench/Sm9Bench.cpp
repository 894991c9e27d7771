// Wrapping a session key of 16 bytes with SM9, beside OpenSSL's SM2 doing the same: anew, with the parameters
// read and the identity's key made for each, and kept, with both made before.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <quilcrypto/sm9/Curve.h>
#include <quilcrypto/sm9/Pairing.h>
#include <quilcrypto/sm9/Sm9.h>

#include <array>
#include <memory>
#include <string>

using namespace vloxlib::sm9;

namespace {

const Bytes kSessionKey(16, 0x5a);
const std::string kIdentity = "server@vlox.example";

Bytes parametersDer() { return MasterKey::generate().value().parameters().toDer(); }

void wrapAnew(benchmark::State& state) {
    const Bytes der = parametersDer();
    for (auto _ : state) {
        const auto parameters = SystemParameters::fromDer(der);
        const auto cipher = EncryptionKey(*parameters, kIdentity).encrypt(kSessionKey);
        if (!cipher) state.SkipWithError("no cipher text");
    }
}

void wrapKept(benchmark::State& state) {
    const EncryptionKey key(SystemParameters::fromDer(parametersDer()).value(), kIdentity);
    for (int use = 0; use < 2; ++use) key.encrypt(kSessionKey);  // what is kept is made at the second use
    for (auto _ : state) {
        if (!key.encrypt(kSessionKey)) state.SkipWithError("no cipher text");
    }
}

void wrapWithSm2(benchmark::State& state) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2"),
                                                                  EVP_PKEY_free);
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr), EVP_PKEY_CTX_free);
    EVP_PKEY_encrypt_init(context.get());
    std::array<unsigned char, 256> cipher;
    for (auto _ : state) {
        std::size_t size = cipher.size();
        if (EVP_PKEY_encrypt(context.get(), cipher.data(), &size, kSessionKey.data(), kSessionKey.size()) !=
            1) {
            state.SkipWithError("no cipher text");
        }
    }
}

// A key centre makes a user's key: with its table, and as any multiple of a point, with all that a receiver
// needs.
void extract(benchmark::State& state) {
    const MasterKey centre = MasterKey::generate().value();
    for (auto _ : state) {
        if (!centre.extract(kIdentity)) state.SkipWithError("no key");
    }
}

void extractBare(benchmark::State& state) {
    const Word256 t2{1, 2, 3, 4};
    for (auto _ : state) {
        const PreparedG2 key(multiply(t2, G2Point::from(generatorP2())).toAffine());
        benchmark::DoNotOptimize(key.lines().data());
    }
}

BENCHMARK(extract)->Name("Crypto/SM9 extraction of a key/vlox")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(extractBare)
    ->Name("Crypto/SM9 extraction of a key/bare")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(wrapAnew)->Name("Crypto/SM9 wrap anew/vlox")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(wrapWithSm2)->Name("Crypto/SM9 wrap anew/bare")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(wrapKept)->Name("Crypto/SM9 wrap kept/vlox")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(wrapWithSm2)->Name("Crypto/SM9 wrap kept/bare")->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
