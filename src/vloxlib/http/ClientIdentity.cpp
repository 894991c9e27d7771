#include "vloxlib/http/ClientIdentity.h"

#include <openssl/pem.h>
#include <openssl/sha.h>

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
    const OpensslHandle<BIO> reader = readerOf(pem.data(), pem.size());
    if (!reader) {
        VLOX_LOG(4, "BIO_new_mem_buf failed.");
        return;
    }
    const std::string* secret = &password;
    m_certificate.reset(PEM_read_bio_X509(reader.get(), nullptr, &givePassword, &secret));
    if (m_certificate) {
        readExtensions(m_certificate.get());
    }
    m_key.reset(PEM_read_bio_PrivateKey(reader.get(), nullptr, &givePassword, &secret));
}

void ClientIdentity::useOn(SSL_CTX* context) const {
    const OpensslErrors errors;
    if (!m_certificate) {
        VLOX_LOG(4, "PEM_read_bio_X509 failed.");
    }
    if (SSL_CTX_use_certificate(context, m_certificate.get()) != 1) {
        VLOX_LOG(4, "Use certificate failed");
    }
    if (!m_key) {
        VLOX_LOG(4, "Failed to create key bio");
    }
    if (SSL_CTX_use_PrivateKey(context, m_key.get()) != 1) {
        VLOX_LOG(4, "Use Key failed");
    }
}

}  // namespace vloxlib
