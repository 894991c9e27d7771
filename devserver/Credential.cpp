#include "Credential.h"

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <cstdint>

namespace devserver {
namespace {

struct Release {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
using Bio = std::unique_ptr<BIO, Release>;
using Extension = std::unique_ptr<X509_EXTENSION, Release>;

constexpr long kVersion3 = 2;  // as it is written in a certificate

void need(bool done, const char* what) {
    if (!done) {
        throw CredentialError(what);
    }
}

void setSerialNumber(X509* certificate) {
    std::uint64_t number = 0;
    need(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1, "no random bytes");
    need(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number) == 1, "no serial number");
}

void setValidity(X509* certificate, const CertificateRequest& request) {
    need(X509_time_adj_ex(X509_getm_notBefore(certificate), request.firstDay, 0, nullptr) != nullptr &&
             X509_time_adj_ex(X509_getm_notAfter(certificate), request.lastDay, 0, nullptr) != nullptr,
         "no validity");
}

void setSubject(X509* certificate, const std::string& name) {
    const auto* text = reinterpret_cast<const unsigned char*>(name.data());
    need(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8, text,
                                    static_cast<int>(name.size()), -1, 0) == 1,
         "no subject");
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    need(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "no extension");
}

void addExtensions(X509* certificate, X509* issuer, const CertificateRequest& request) {
    addExtension(certificate, issuer, NID_subject_key_identifier, "hash");
    addExtension(certificate, issuer, NID_authority_key_identifier, "keyid:always");
    if (request.role == CertificateRequest::Authority) {
        addExtension(certificate, issuer, NID_basic_constraints, "critical,CA:TRUE");
        addExtension(certificate, issuer, NID_key_usage, "critical,keyCertSign,cRLSign");
        return;
    }
    const bool server = request.role == CertificateRequest::Server;
    addExtension(certificate, issuer, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate, issuer, NID_key_usage, "critical,digitalSignature");
    addExtension(certificate, issuer, NID_ext_key_usage, server ? "serverAuth" : "clientAuth");
    if (server) {
        addExtension(certificate, issuer, NID_subject_alt_name, request.hosts);
    }
}

Bio reader(const std::string& text) {
    return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::string textOf(BIO* bio) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio, &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

}  // namespace

Credential::Credential(const CertificateRequest& request, const Credential* issuer)
    : m_key(EVP_EC_gen("P-256")), m_certificate(X509_new()) {
    need(m_key && m_certificate, "no key could be made");
    const Credential& signer = issuer != nullptr ? *issuer : *this;
    X509* const certificate = m_certificate.get();
    X509* const signing = signer.m_certificate.get();
    need(X509_set_version(certificate, kVersion3) == 1 && X509_set_pubkey(certificate, m_key.get()) == 1,
         "no public key");
    setSerialNumber(certificate);
    setValidity(certificate, request);
    setSubject(certificate, request.name);
    need(X509_set_issuer_name(certificate, X509_get_subject_name(signing)) == 1, "no issuer");
    addExtensions(certificate, signing, request);
    need(X509_sign(certificate, signer.m_key.get(), EVP_sha256()) > 0, "no signature");
}

Credential::Credential(const std::string& pem, const std::string& password) {
    // Without a password to try, OpenSSL would ask for it at the terminal.
    void* const key = const_cast<char*>(password.c_str());
    m_certificate.reset(PEM_read_bio_X509(reader(pem).get(), nullptr, nullptr, nullptr));
    need(m_certificate != nullptr, "holds no certificate");
    m_key.reset(PEM_read_bio_PrivateKey(reader(pem).get(), nullptr, nullptr, key));
    need(m_key && X509_check_private_key(m_certificate.get(), m_key.get()) == 1,
         "holds no key that fits the certificate");
}

bool Credential::isIssuedBy(const Credential& issuer) const {
    return X509_verify(m_certificate.get(), issuer.m_key.get()) == 1;
}

std::string Credential::certificatePem() const {
    const Bio sink(BIO_new(BIO_s_mem()));
    need(sink && PEM_write_bio_X509(sink.get(), m_certificate.get()) == 1, "no certificate text");
    return textOf(sink.get());
}

std::string Credential::keyPem(const std::string& password) const {
    const Bio sink(BIO_new(BIO_s_mem()));
    const EVP_CIPHER* const cipher = password.empty() ? nullptr : EVP_aes_256_cbc();
    need(sink && PEM_write_bio_PKCS8PrivateKey(sink.get(), m_key.get(), cipher, password.data(),
                                               static_cast<int>(password.size()), nullptr, nullptr) == 1,
         "no key text");
    return textOf(sink.get());
}

}  // namespace devserver
