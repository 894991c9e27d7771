#include "ServerKeys.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "Base64Url.h"
#include "PrivateFile.h"
#include "WireError.h"

namespace devserver {
namespace {

namespace fs = std::filesystem;
using vloxlib::sm2::PrivateKey;
using vloxlib::sm9::MasterKey;
using vloxlib::sm9::UserKey;

template <typename Bytes>
std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

template <typename Key>
Key need(std::optional<Key> key, const std::string& what) {
    if (!key) {
        throw std::runtime_error(what);
    }
    return std::move(*key);
}

std::optional<std::string> readKey(const fs::path& file) {
    if (!fs::exists(file)) {
        return std::nullopt;
    }
    return decodeBase64(readFile(file)).value_or("");
}

PrivateKey sm2Key(const fs::path& directory) {
    const fs::path file = directory / "sm2.key";
    const auto kept = directory.empty() ? std::nullopt : readKey(file);
    if (kept) {
        return need(PrivateKey::fromScalar(*kept), file.string() + " holds no SM2 key");
    }
    PrivateKey key = need(PrivateKey::generate(), "no SM2 key could be made");
    if (!directory.empty()) {
        writePrivateFile(file, encodeBase64(textOf(key.toScalar())));
    }
    return key;
}

MasterKey sm9Key(const fs::path& directory) {
    const fs::path file = directory / "sm9-master.key";
    const auto kept = directory.empty() ? std::nullopt : readKey(file);
    if (kept) {
        return need(MasterKey::fromBytes(*kept), file.string() + " holds no SM9 master key");
    }
    const MasterKey key = need(MasterKey::generate(), "no SM9 master key could be made");
    if (!directory.empty()) {
        writePrivateFile(file, encodeBase64(textOf(key.toBytes())));
    }
    return key;
}

}  // namespace

ServerKeys::ServerKeys(const std::string& directory, const std::string& identity)
    : m_identity(identity),
      m_sm2(sm2Key(directory)),
      m_sm9Master(sm9Key(directory)),
      m_sm9(need(m_sm9Master.extract(identity), "the identity has no key under this master key")) {
    if (!directory.empty()) {
        writeParameterFile(directory);
    }
}

std::string ServerKeys::sm2PublicKey() const { return encodeBase64(textOf(m_sm2.toPoint())); }

std::string ServerKeys::sm9Parameters() const {
    return encodeBase64(textOf(m_sm9Master.parameters().toDer()));
}

std::string ServerKeys::unwrap(int algorithm, const std::string& wrapped) const {
    if (algorithm != 2 && algorithm != 4) {
        throw WireError(kWireBadAlgorithm, "asymAlg " + std::to_string(algorithm) + " is not known");
    }
    const auto key = algorithm == 2 ? m_sm2.decrypt(wrapped) : m_sm9.decrypt(wrapped);
    if (!key) {
        throw WireError(kWireBadSession, "secretKey was not wrapped for this server");
    }
    return textOf(*key);
}

void ServerKeys::writeParameterFile(const std::string& directory) {
    m_parameterFile = (fs::path(directory) / "sm9-parameters.txt").string();
    std::ofstream file(m_parameterFile, std::ios::binary);
    file << "-----BEGIN IBC PARAMETERS-----\n"
         << sm9Parameters() << "\n-----END IBC PARAMETERS-----\n"
         << std::flush;
    if (!file) {
        throw std::runtime_error("can't write " + m_parameterFile);
    }
}

}  // namespace devserver
