#include "vloxlib/http/TlsSettings.h"

#include <openssl/crypto.h>

#include <exception>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

void cleanse(std::string& secret) { OPENSSL_cleanse(secret.data(), secret.size()); }

std::string contentOf(const std::string& path) {
    std::string content;
    if (!path.empty()) {
        FileUtil::readFileContent(path, content);
    }
    return content;
}

TrustedCertificates trustedBy(const TlsChoice& choice) {
    return TrustedCertificates(choice.caContent, contentOf(choice.caPath));
}

// The connection's store is to be the only source of trust: libcurl's own bundle is left out, which would
// also have to be parsed for each connection.
void forgetOwnBundle(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
}

void verifyServer(CURL* curl, bool verifyHost) {
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, verifyHost ? 2L : 0L);
    forgetOwnBundle(curl);
}

void verifyNobody(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    forgetOwnBundle(curl);
}

// An exception must not pass through libcurl's frames.
template <class Step>
CURLcode guarded(const Step& step) {
    try {
        step();
    } catch (const std::exception&) {
        return CURLE_OUT_OF_MEMORY;
    }
    return CURLE_OK;
}

CURLcode sslctx_ca_function(CURL*, void* context, void* settings) {
    return guarded(
        [&] { static_cast<const TlsSettings*>(settings)->trusted->addTo(static_cast<SSL_CTX*>(context)); });
}

CURLcode sslctx_client_function(CURL* curl, void* context, void* settings) {
    const CURLcode trusted = sslctx_ca_function(curl, context, settings);
    return trusted != CURLE_OK ? trusted : guarded([&] {
        static_cast<const TlsSettings*>(settings)->identity->useOn(static_cast<SSL_CTX*>(context));
    });
}

}  // namespace

TlsChoice::~TlsChoice() {
    cleanse(keyPassword);
    cleanse(clientCertContent);
}

TlsSettings TlsSettings::of(const TlsChoice& choice) {
    if (choice.policy != SECURITY_POLICY_PLAIN) {
        OPENSSL_init_ssl(0, nullptr);
    }
    TlsSettings tls{choice.policy, choice.verifyHost, std::nullopt, nullptr};
    if (choice.policy == SECURITY_POLICY_SERVER_CA) {
        tls.trusted = trustedBy(choice);
    } else if (choice.policy == SECURITY_POLICY_MUTUAL) {
        std::string identity =
            choice.clientCertContent.empty() ? contentOf(choice.clientCertPath) : choice.clientCertContent;
        if (identity.empty()) {
            VLOX_LOG(4, "param error.");
        } else {
            tls.trusted = trustedBy(choice);
            tls.identity = ClientIdentity::of(identity, choice.keyPassword);
        }
        cleanse(identity);
    }
    return tls;
}

void TlsSettings::putOn(CURL* curl) const {
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, this);
    switch (policy) {
        case SECURITY_POLICY_PLAIN:
            return;
        case SECURITY_POLICY_SERVER_CA:
            verifyServer(curl, verifyHost);
            curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &sslctx_ca_function);
            return;
        case SECURITY_POLICY_MUTUAL:
            verifyServer(curl, verifyHost);
            if (identity) {
                curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &sslctx_client_function);
            }
            return;
        default:
            verifyNobody(curl);
    }
}

}  // namespace vloxlib
