// The ciphers and the key wrapping, beside OpenSSL's own interface doing the same work.
#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <quilcrypto/QuilCryptoLib.h>
#include <quilcrypto/Sm2.h>
#include <quilcrypto/sm9/Sm9.h>
#include <vlox_common.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace vloxlib;

namespace {

const std::string kKey = "0123456789abcdef";
const std::string kIv = "qexdarmolvintusa";
const std::string kSessionKey = "a session's key.";

const unsigned char* bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

struct Deleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Deleter>;
using Key = std::unique_ptr<EVP_PKEY, Deleter>;

enum Direction { kDecrypt = 0, kEncrypt = 1 };

// One whole encryption or decryption into a new string, which is what a caller of either interface needs.
std::string evp(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, Direction direction,
                const std::string& input) {
    std::string output(input.size() + 32, '\0');
    auto* const start = reinterpret_cast<unsigned char*>(&output[0]);
    int body = 0;
    int end = 0;
    EVP_CipherInit_ex(context, cipher, nullptr, bytes(kKey), bytes(kIv), direction);
    EVP_CipherUpdate(context, start, &body, bytes(input), static_cast<int>(input.size()));
    EVP_CipherFinal_ex(context, start + body, &end);
    output.resize(static_cast<std::size_t>(body + end));
    return output;
}

// A text of the size, or what the strategy makes of it.
std::string inputOf(SymEncryptStrategy& strategy, Direction direction, std::size_t size) {
    const std::string plain(size, 'p');
    return direction == kEncrypt ? plain : strategy.encryptData(bytes(kKey), 16, plain);
}

template <typename Strategy>
void content(benchmark::State& state, Direction direction, std::size_t size) {
    Strategy strategy;
    const std::string input = inputOf(strategy, direction, size);
    for (auto _ : state) {
        std::string output = direction == kEncrypt ? strategy.encryptData(bytes(kKey), 16, input)
                                                   : strategy.decryptData(bytes(kKey), 16, input);
        if (output.size() < size) {
            state.SkipWithError("the cipher failed");
        }
        benchmark::DoNotOptimize(output);
    }
}

template <typename Strategy>
void contentBare(benchmark::State& state, const EVP_CIPHER* cipher, Direction direction, std::size_t size,
                 bool contextPerCall) {
    Strategy strategy;
    const std::string input = inputOf(strategy, direction, size);
    CipherContext context(EVP_CIPHER_CTX_new());
    for (auto _ : state) {
        if (contextPerCall) {
            context.reset(EVP_CIPHER_CTX_new());
        }
        std::string output = evp(context.get(), cipher, direction, input);
        if (output.size() < size) {
            state.SkipWithError("the cipher failed");
        }
        benchmark::DoNotOptimize(output);
    }
}

template <typename Strategy>
void registerContent(const std::string& cipherName, const EVP_CIPHER* cipher) {
    for (const std::size_t kibi : {64, 1}) {
        for (const Direction direction : {kEncrypt, kDecrypt}) {
            const std::string name = "Crypto/" + cipherName +
                                     (direction == kEncrypt ? " encryptData " : " decryptData ") +
                                     std::to_string(kibi) + " KiB/";
            benchmark::RegisterBenchmark((name + "vlox").c_str(), [=](benchmark::State& state) {
                content<Strategy>(state, direction, kibi * 1024);
            })->UseRealTime();
            benchmark::RegisterBenchmark((name + "bare").c_str(), [=](benchmark::State& state) {
                contentBare<Strategy>(state, cipher, direction, kibi * 1024, kibi == 1);
            })->UseRealTime();
        }
    }
}

[[maybe_unused]] const bool registered = [] {
    registerContent<Aes128CBCStrategy>("AES", EVP_aes_128_cbc());
    registerContent<Sm4Strategy>("SM4", EVP_sm4_cbc());
    return true;
}();

// A file of 256 MiB, and room for another one beside it.
class LargeFile {
public:
    LargeFile()
        : m_directory(std::filesystem::temp_directory_path() /
                      ("vlox_crypto_bench_" + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(m_directory);
        const std::string part(1024 * 1024, 'p');
        std::ofstream file(plain(), std::ios::binary);
        for (int count = 0; count < 256; ++count) {
            file << part;
        }
    }
    ~LargeFile() { std::filesystem::remove_all(m_directory); }
    LargeFile(const LargeFile&) = delete;
    LargeFile& operator=(const LargeFile&) = delete;
    std::string plain() const { return (m_directory / "plain").string(); }
    std::string sealed() const { return (m_directory / "sealed").string(); }

private:
    std::filesystem::path m_directory;
};

// A whole process each time, as a shell would run it.
void process(benchmark::State& state, const std::string& command, const LargeFile& file) {
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0 ||
            std::filesystem::file_size(file.sealed()) != (256u << 20) + 16) {
            state.SkipWithError("the program failed");
            break;
        }
    }
}

void encryptFile(benchmark::State& state) {
    const LargeFile file;
    process(state, VLOX_AES_FILE " " + kKey + " " + file.plain() + " " + file.sealed(), file);
}
BENCHMARK(encryptFile)
    ->Name("Crypto/AES encryptFile 256 MiB/vlox")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void encryptFileBare(benchmark::State& state) {
    const LargeFile file;
    process(state,
            VLOX_OPENSSL " enc -aes-128-ecb -K 30313233343536373839616263646566 -in " + file.plain() +
                " -out " + file.sealed(),
            file);
}
BENCHMARK(encryptFileBare)
    ->Name("Crypto/AES encryptFile 256 MiB/bare")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

struct PublicKeyDestroyer {
    void operator()(void* key) const { QCLDestroyPubKeyObject(key); }
};
using PublicKey = std::unique_ptr<void, PublicKeyDestroyer>;

// What a strategy does for its session key, without the Base64.
bool wrap(void* key) {
    unsigned int length = 0;
    QCLCryptExportData(key, bytes(kSessionKey), 16, nullptr, &length, nullptr, nullptr);
    std::vector<unsigned char> wrapped(length);
    return QCLCryptExportData(key, bytes(kSessionKey), 16, wrapped.data(), &length, nullptr, nullptr) ==
           QCL_SUCCESS;
}

void wrapSm2(benchmark::State& state) {
    const sm2::Bytes point = sm2::PrivateKey::generate()->toPoint();
    void* key = nullptr;
    QCLCreateSM2PubKeyObjectFromMem(&key, point.data(), static_cast<unsigned int>(point.size()), 0);
    const PublicKey owner(key);
    for (auto _ : state) {
        if (!wrap(key)) {
            state.SkipWithError("not wrapped");
        }
    }
}
BENCHMARK(wrapSm2)->Name("Crypto/SM2 wrap/vlox")->UseRealTime();

bool wrapBare(EVP_PKEY* key) {
    const std::unique_ptr<EVP_PKEY_CTX, Deleter> context(EVP_PKEY_CTX_new(key, nullptr));
    std::size_t length = 0;
    EVP_PKEY_encrypt_init(context.get());
    EVP_PKEY_encrypt(context.get(), nullptr, &length, bytes(kSessionKey), 16);
    std::vector<unsigned char> wrapped(length);
    return EVP_PKEY_encrypt(context.get(), wrapped.data(), &length, bytes(kSessionKey), 16) == 1;
}

void wrapSm2Bare(benchmark::State& state) {
    const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2"));
    for (auto _ : state) {
        if (!wrapBare(key.get())) {
            state.SkipWithError("not wrapped");
        }
    }
}

// More keys than are kept, so that each is as good as never seen.
std::vector<sm2::Bytes> manyPoints() {
    std::vector<sm2::Bytes> points(100);
    for (sm2::Bytes& point : points) {
        point = sm2::PrivateKey::generate()->toPoint();
    }
    return points;
}

void wrapSm2NewKey(benchmark::State& state) {
    const std::vector<sm2::Bytes> points = manyPoints();
    std::size_t next = 0;
    for (auto _ : state) {
        const sm2::Bytes& point = points[next++ % points.size()];
        void* key = nullptr;
        QCLCreateSM2PubKeyObjectFromMem(&key, point.data(), static_cast<unsigned int>(point.size()), 0);
        const PublicKey owner(key);
        if (!wrap(key)) {
            state.SkipWithError("not wrapped");
        }
    }
}
BENCHMARK(wrapSm2NewKey)->Name("Crypto/SM2 wrap with a new key/vlox")->UseRealTime();

void wrapSm2NewKeyBare(benchmark::State& state) {
    std::vector<sm2::Bytes> points = manyPoints();
    std::size_t next = 0;
    for (auto _ : state) {
        sm2::Bytes& point = points[next++ % points.size()];
        OSSL_PARAM parameters[] = {
            OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, const_cast<char*>("SM2"), 0),
            OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()),
            OSSL_PARAM_construct_end()};
        const std::unique_ptr<EVP_PKEY_CTX, Deleter> context(
            EVP_PKEY_CTX_new_from_name(nullptr, "SM2", nullptr));
        EVP_PKEY* made = nullptr;
        EVP_PKEY_fromdata_init(context.get());
        EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_PUBLIC_KEY, parameters);
        const Key key(made);
        if (!wrapBare(key.get())) {
            state.SkipWithError("not wrapped");
        }
    }
}
BENCHMARK(wrapSm2NewKeyBare)->Name("Crypto/SM2 wrap with a new key/bare")->UseRealTime();

// The yardstick of all three ways of wrapping.
BENCHMARK(wrapSm2Bare)->Name("Crypto/SM2 wrap/bare")->UseRealTime();
BENCHMARK(wrapSm2Bare)->Name("Crypto/SM9 wrap anew/bare")->UseRealTime();
BENCHMARK(wrapSm2Bare)->Name("Crypto/SM9 wrap kept/bare")->UseRealTime();

// A parameter object and a public key object under it, for one identity.
class Sm9Objects {
public:
    explicit Sm9Objects(const sm9::Bytes& der, const std::string& identity = "server@vlox.example") {
        unsigned int family = 0;
        QCLCreateIBCParamObjectFromMem(&m_parameters, der.data(), static_cast<unsigned int>(der.size()));
        QCLGetIBCParamAttribute(m_parameters, QCL_ATTRIBUTE_ALGORITHM, &family, nullptr);
        QCLCreateIBCPubKeyObjectEx(&m_key, QCL_SM9_ENCRYPTION, m_parameters, bytes(identity),
                                   static_cast<unsigned int>(identity.size()), 0, 1, nullptr, 0);
    }
    ~Sm9Objects() {
        QCLDestroyPubKeyObject(m_key);
        QCLDestroyIBCParamObject(m_parameters);
    }
    Sm9Objects(const Sm9Objects&) = delete;
    Sm9Objects& operator=(const Sm9Objects&) = delete;
    void* key() const { return m_key; }

private:
    void* m_parameters = nullptr;
    void* m_key = nullptr;
};

// Another identity each time: what was made for one is kept for the process.
void wrapSm9Anew(benchmark::State& state) {
    const sm9::Bytes der = sm9::MasterKey::generate()->parameters().toDer();
    int next = 0;
    for (auto _ : state) {
        const Sm9Objects objects(der, "server" + std::to_string(next++) + "@vlox.example");
        if (!wrap(objects.key())) {
            state.SkipWithError("not wrapped");
        }
    }
}
BENCHMARK(wrapSm9Anew)->Name("Crypto/SM9 wrap anew/vlox")->UseRealTime();

void wrapSm9Kept(benchmark::State& state) {
    const Sm9Objects objects(sm9::MasterKey::generate()->parameters().toDer());
    if (!wrap(objects.key()) || !wrap(objects.key())) {  // the second use builds the tables
        state.SkipWithError("not wrapped");
    }
    for (auto _ : state) {
        if (!wrap(objects.key())) {
            state.SkipWithError("not wrapped");
        }
    }
}
BENCHMARK(wrapSm9Kept)->Name("Crypto/SM9 wrap kept/vlox")->UseRealTime();

// A bridge into another zone, as each client makes it: to a server that another bridge of the process knows,
// and to one that none has seen, which is what every bridge cost before the servers' tables were shared.
void newBridge(benchmark::State& state, bool known) {
    const sm9::Bytes der = sm9::MasterKey::generate()->parameters().toDer();
    const std::string parameters = Base64::encode(std::string(der.begin(), der.end()));
    int next = 0;
    const auto wraps = [&] {
        EncryptBridge bridge(SYM_AES128_CBC, ASYM_SM9, "server" + std::to_string(known ? 0 : next++),
                             parameters);
        return !bridge.getSecretKeyBase64().empty();
    };
    bool good = wraps() && wraps();  // the second use of a server's key builds the tables
    for (auto _ : state) {
        good = wraps() && good;
    }
    if (!good) {
        state.SkipWithError("no key");
    }
}
BENCHMARK_CAPTURE(newBridge, known, true)->Name("Crypto/SM9 wrap through a new bridge/vlox")->UseRealTime();
BENCHMARK_CAPTURE(newBridge, unknown, false)
    ->Name("Crypto/SM9 wrap through a new bridge/bare")
    ->UseRealTime();

}  // namespace
