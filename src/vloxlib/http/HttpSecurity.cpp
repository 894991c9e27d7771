// What HttpClient sets up for TLS, and the callbacks through which libcurl's contexts get it.
#include <curl/curl.h>
#include <openssl/crypto.h>

#include <exception>

#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/TlsSettings.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

std::string contentOf(const std::string& path) {
    std::string content;
    if (!path.empty()) {
        FileUtil::readFileContent(path, content);
    }
    return content;
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

std::mutex HttpClient::m_sslInitmutex;

void cleanse(std::string& secret) {
    if (!secret.empty()) {
        OPENSSL_cleanse(&secret[0], secret.size());
    }
}

void HttpClient::initialSSLLibrary() const {
    if (m_securityPolicy != SECURITY_POLICY_PLAIN) {
        const std::lock_guard<std::mutex> lock(m_sslInitmutex);
        OPENSSL_init_ssl(0, nullptr);
    }
}

TrustedCertificates HttpClient::combineCACertification() const {
    return TrustedCertificates(m_caContent, contentOf(m_caPath));
}

TlsSettings HttpClient::tlsSettings() const {
    TlsSettings tls{m_securityPolicy, m_verifyHost, std::nullopt, nullptr};
    if (m_securityPolicy == SECURITY_POLICY_SERVER_CA) {
        tls.trusted = combineCACertification();
    } else if (m_securityPolicy == SECURITY_POLICY_MUTUAL) {
        std::string identity =
            m_clientCertContent.empty() ? contentOf(m_clientCertPath) : m_clientCertContent;
        if (identity.empty()) {
            VLOX_LOG(4, "param error.");
        } else {
            tls.trusted = combineCACertification();
            tls.identity = ClientIdentity::of(identity, m_keyPassword);
        }
        cleanse(identity);
    }
    return tls;
}

void HttpClient::initialSSLProperty(void* curl) const {
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, m_tlsSettings.get());
    switch (m_securityPolicy) {
        case SECURITY_POLICY_PLAIN:
            return;
        case SECURITY_POLICY_SERVER_CA:
            verifyServer(curl, m_verifyHost);
            curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &sslctx_ca_function);
            return;
        case SECURITY_POLICY_MUTUAL:
            verifyServer(curl, m_verifyHost);
            if (!m_keyPassword.empty()) {
                curl_easy_setopt(curl, CURLOPT_KEYPASSWD, m_keyPassword.c_str());
            }
            curl_easy_setopt(curl, CURLOPT_SSLCERTTYPE, "PEM");
            if (m_tlsSettings->identity) {
                curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &sslctx_client_function);
            }
            return;
        default:
            verifyNobody(curl);
    }
}

}  // namespace vloxlib
