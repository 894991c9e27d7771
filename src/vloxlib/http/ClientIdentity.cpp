#include "vloxlib/http/ClientIdentity.h"

#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <new>

#include "vloxlib/http/RecentValues.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr std::size_t kIdentitiesKept = 8;

using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

Digest digestOf(const std::string& text) {
    Digest digest{};
    if (EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        throw std::bad_alloc();
    }
    return digest;
}

// Without a password OpenSSL would ask for one at the terminal.
int givePassword(char* buffer, int size, int, void* password) {
    const std::string& text = **static_cast<const std::string**>(password);
    return text.empty() ? -1 : static_cast<int>(text.copy(buffer, static_cast<std::size_t>(size)));
}

// The client's own certificate first, then who issued it, and so on: many servers read a chain in this order
// only. What belongs to no step of the way stays behind it, in the order of the text.
void bringInOrder(Certificates& certificates, EVP_PKEY* key) {
    const auto moveUp = [](auto to, auto found, auto end) {
        if (found != end) {
            std::rotate(to, found, found + 1);
        }
        return found != end;
    };
    auto next = certificates.begin();
    const auto end = certificates.end();
    moveUp(
        next,
        std::find_if(next, end,
                     [key](const auto& each) { return key && X509_check_private_key(each.get(), key) == 1; }),
        end);
    while (next != end) {
        X509* const issued = (next++)->get();
        const auto issuer = std::find_if(next, end, [issued](const auto& each) {
            return X509_check_issued(each.get(), issued) == X509_V_OK;
        });
        if (!moveUp(next, issuer, end)) {
            return;
        }
    }
}

}  // namespace

// Neither key text nor password is kept to tell one from another.
std::shared_ptr<const ClientIdentity> ClientIdentity::of(const std::string& pem,
                                                         const std::string& password) {
    static auto& identities =
        *new RecentValues<std::pair<Digest, Digest>, std::shared_ptr<const ClientIdentity>>(kIdentitiesKept);
    return identities.get({digestOf(pem), digestOf(password)},
                          [&] { return std::make_shared<const ClientIdentity>(pem, password); });
}

ClientIdentity::ClientIdentity(const std::string& pem, const std::string& password) {
    const OpensslErrors errors;
    const std::vector<PemBlock> blocks = pemBlocksOf(pem);
    readKey(blocks, password);
    readCertificates(blocks, password);
    bringInOrder(m_certificates, m_key.get());
}

void ClientIdentity::readKey(const std::vector<PemBlock>& blocks, const std::string& password) {
    const std::string* secret = &password;
    for (const PemBlock& block : blocks) {
        if (m_key || !block.isPrivateKey()) {
            continue;
        }
        m_key = block.privateKey(&givePassword, &secret);
        if (!m_key && block.isEncrypted()) {
            m_lockedKey = password.empty() ? "the client's key is encrypted, and there is no password for it"
                                           : "wrong password: it doesn't decrypt the client's key";
        }
    }
}

void ClientIdentity::readCertificates(const std::vector<PemBlock>& blocks, const std::string& password) {
    const std::string* secret = &password;
    for (const PemBlock& block : blocks) {
        if (!block.isCertificate()) {
            continue;
        }
        if (OpensslHandle<X509> certificate = block.certificate(&givePassword, &secret)) {
            readExtensions(certificate.get());
            m_certificates.push_back(std::move(certificate));
        }
    }
}

void ClientIdentity::useOn(SSL_CTX* context) const {
    const OpensslErrors errors;
    if (m_certificates.empty()) {
        VLOX_LOG(4, "PEM_read_bio_X509 failed.");
    }
    if (SSL_CTX_use_certificate(context, m_certificates.empty() ? nullptr : m_certificates.front().get()) !=
        1) {
        VLOX_LOG(4, "Use certificate failed");
    }
    for (std::size_t i = 1; i < m_certificates.size(); ++i) {
        if (SSL_CTX_add1_chain_cert(context, m_certificates[i].get()) != 1) {
            VLOX_LOG(4, "a certificate of the client's chain can't be used");
        }
    }
    if (!m_key) {
        VLOX_LOG(4, "Failed to create key bio");
    }
    if (!m_key && m_lockedKey) {
        VLOX_LOG(4, "%s", m_lockedKey);
    }
    if (SSL_CTX_use_PrivateKey(context, m_key.get()) != 1) {
        VLOX_LOG(4, "Use Key failed");
    }
}

}  // namespace vloxlib
