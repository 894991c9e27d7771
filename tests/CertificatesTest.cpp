#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <future>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "vloxlib/http/ClientIdentity.h"
#include "vloxlib/http/PemCertificates.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/http/TrustedCertificates.h"

using namespace vloxlib;
using vlox_test::LogCapture;

namespace {

const std::string kByteOrderMark = "\xEF\xBB\xBF";
constexpr char kSkipped[] = "a malformed certificate is skipped";

struct ContextFree {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using Context = std::unique_ptr<SSL_CTX, ContextFree>;
Context newContext() { return Context(SSL_CTX_new(TLS_client_method())); }

std::string textOf(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

OpensslHandle<BIO> writer() { return OpensslHandle<BIO>(BIO_new(BIO_s_mem())); }

// A certificate, signed by another or by itself, and its key.
class Identity {
public:
    explicit Identity(const char* name, const Identity* issuer = nullptr)
        : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")), m_certificate(X509_new()) {
        X509_set_version(m_certificate.get(), 2);
        ASN1_INTEGER_set(X509_get_serialNumber(m_certificate.get()), 1);
        X509_gmtime_adj(X509_getm_notBefore(m_certificate.get()), 0);
        X509_gmtime_adj(X509_getm_notAfter(m_certificate.get()), 3600);
        X509_NAME* const subject = X509_get_subject_name(m_certificate.get());
        X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(name),
                                   -1, -1, 0);
        const Identity& by = issuer ? *issuer : *this;
        X509_set_issuer_name(m_certificate.get(), X509_get_subject_name(by.m_certificate.get()));
        X509_set_pubkey(m_certificate.get(), m_key.get());
        X509_sign(m_certificate.get(), by.m_key.get(), EVP_sha256());
    }
    std::string certificate() const {
        const OpensslHandle<BIO> bio = writer();
        PEM_write_bio_X509(bio.get(), m_certificate.get());
        return textOf(bio.get());
    }
    std::string key(const char* password = nullptr) const {
        const OpensslHandle<BIO> bio = writer();
        PEM_write_bio_PrivateKey(bio.get(), m_key.get(), password ? EVP_aes_128_cbc() : nullptr, nullptr, 0,
                                 nullptr, const_cast<char*>(password));
        return textOf(bio.get());
    }

private:
    OpensslHandle<EVP_PKEY> m_key;
    OpensslHandle<X509> m_certificate;
};

const std::string& one() {
    static const std::string pem = Identity("one").certificate();
    return pem;
}
const std::string& two() {
    static const std::string pem = Identity("two").certificate();
    return pem;
}
const std::string& three() {
    static const std::string pem = Identity("three").certificate();
    return pem;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::string withoutEnd(const std::string& pem) { return pem.substr(0, pem.find("-----END")); }

std::string nameOf(const X509* certificate) {
    char name[64] = "";
    X509_NAME_get_text_by_NID(X509_get_subject_name(certificate), NID_commonName, name, sizeof name);
    return name;
}

// The names of what was read, in order.
std::string namesOf(const Certificates& certificates) {
    std::string names;
    for (const auto& certificate : certificates) {
        names += (names.empty() ? "" : " ") + nameOf(certificate.get());
    }
    return names;
}

// The names of what a context shows, in order.
std::string shownBy(SSL_CTX* context) {
    if (!SSL_CTX_get0_certificate(context)) {
        return "";
    }
    std::string names = nameOf(SSL_CTX_get0_certificate(context));
    STACK_OF(X509)* chain = nullptr;
    SSL_CTX_get0_chain_certs(context, &chain);
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        names += " " + nameOf(sk_X509_value(chain, i));
    }
    return names;
}

}  // namespace

TEST(PemCertificates, OneThatIsMalformedHidesNoOther) {
    const Identity other("other");
    const struct {
        const char* why;
        std::string text;
        const char* names;
        long skipped;
    } rows[] = {
        {"nothing", "", "", 0},
        {"no PEM at all", "-----BEGIN", "", 0},
        {"whole", one() + two() + three(), "one two three", 0},
        {"words between them", "Root one\n" + one() + "\n\nRoot two: -----BEGIN CERTIFICATE-----\n" + two(),
         "one two", 0},
        {"lines of another system", replaced(one() + two(), "\n", "\r\n"), "one two", 0},
        {"no line end behind the last", one() + two().substr(0, two().size() - 1), "one two", 0},
        {"the older label", replaced(one(), "CERTIFICATE", "X509 CERTIFICATE"), "one", 0},
        {"the label of one that says what it is trusted for",
         replaced(one(), "CERTIFICATE", "TRUSTED CERTIFICATE") + two(), "one two", 0},
        {"byte order marks of files put together", kByteOrderMark + one() + kByteOrderMark + two(), "one two",
         0},
        {"other things", other.key() + one() + other.key("secret") + two(), "one two", 0},
        {"the end is missing", one() + withoutEnd(two()) + three(), "one three", 1},
        {"the last one's end is missing", one() + withoutEnd(two()), "one", 1},
        {"half of it is missing", one() + two().substr(0, two().size() / 2) + "\n" + three(), "one three", 1},
        {"no Base64", one() + replaced(two(), "\nM", "\n*") + three(), "one three", 1},
        {"Base64 of something else", one() + replaced(two(), "\nMII", "\nAII") + three(), "one three", 1},
        {"another label at its end", replaced(one(), "END C", "END X") + two(), "two", 1},
        {"nothing in it", "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n" + two(), "two", 1},
        {"it says that it is encrypted",
         replaced(one(), "BEGIN CERTIFICATE-----\n",
                  "BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,"
                  "00112233445566778899AABBCCDDEEFF\n\n") +
             two(),
         "two", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const LogCapture log;
        EXPECT_EQ(row.names, namesOf(*certificatesOf(row.text)));
        EXPECT_EQ(row.skipped, log.count("W", kSkipped));
        EXPECT_EQ(0u, ERR_peek_error()) << "left for libcurl to trip over";
    }
}

TEST(PemCertificates, ADistinctTextIsParsedOnce) {
    const std::string text = "parsed by nobody yet\n" + one() + withoutEnd(two());
    const LogCapture log;
    std::vector<std::future<std::shared_ptr<const Certificates>>> readers;
    for (int i = 0; i < 8; ++i) {
        readers.push_back(std::async(std::launch::async, [&] { return certificatesOf(std::string(text)); }));
    }
    std::set<const Certificates*> parsed;
    for (auto& reader : readers) {
        parsed.insert(reader.get().get());
    }
    EXPECT_EQ(1u, parsed.size());
    EXPECT_EQ(1, log.count(kSkipped));
    EXPECT_EQ("one two", namesOf(*certificatesOf(one() + two()))) << "a changed text is another";
}

TEST(PemCertificates, OldTextsAreForgottenButWhatIsUsedStays) {
    const std::weak_ptr<const Certificates> forgotten = certificatesOf(one());
    const std::weak_ptr<const Certificates> used = certificatesOf(two());
    for (int i = 0; i < 100; ++i) {
        certificatesOf("text " + std::to_string(i));
        EXPECT_EQ(used.lock(), certificatesOf(two()));
    }
    EXPECT_TRUE(forgotten.expired());
    EXPECT_FALSE(used.expired());
}

TEST(RootCertificates, AllThatAreBuiltInAreWhole) {
    const LogCapture log;
    const std::string text = builtInRootCertificates();
    std::size_t begun = 0;
    for (std::size_t at = text.find("-----BEGIN"); at != std::string::npos;
         at = text.find("-----BEGIN", at + 1)) {
        ++begun;
    }
    EXPECT_LT(0u, begun);
    EXPECT_EQ(begun, rootCertificates().size());
    EXPECT_EQ(0, log.count(kSkipped));
}

TEST(TrustedCertificates, ContextsThatTrustTheSameShareOneStore) {
    const Context first = newContext();
    const Context second = newContext();
    const Context other = newContext();
    TrustedCertificates(one(), two()).addTo(first.get());
    TrustedCertificates(one(), two()).addTo(second.get());
    TrustedCertificates(one(), "").addTo(other.get());
    EXPECT_EQ(SSL_CTX_get_cert_store(first.get()), SSL_CTX_get_cert_store(second.get()));
    EXPECT_NE(SSL_CTX_get_cert_store(first.get()), SSL_CTX_get_cert_store(other.get()));
    const auto count = [](const Context& context) {
        return sk_X509_OBJECT_num(X509_STORE_get0_objects(SSL_CTX_get_cert_store(context.get())));
    };
    EXPECT_EQ(static_cast<int>(rootCertificates().size()) + 2, count(first));
    EXPECT_EQ(count(first) - 1, count(other));
}

TEST(TrustedCertificates, WhatAContextDemandsAndHoldsStays) {
    const Context strict = newContext();
    const Context lenient = newContext();
    X509_STORE_set_flags(SSL_CTX_get_cert_store(strict.get()), X509_V_FLAG_CRL_CHECK);
    TrustedCertificates(one(), "").addTo(strict.get());
    TrustedCertificates(one(), "").addTo(lenient.get());
    const auto flags = [](const Context& context) {
        return X509_VERIFY_PARAM_get_flags(X509_STORE_get0_param(SSL_CTX_get_cert_store(context.get())));
    };
    EXPECT_NE(0u, flags(strict) & X509_V_FLAG_CRL_CHECK);
    EXPECT_EQ(0u, flags(lenient) & X509_V_FLAG_CRL_CHECK);

    const Context filled = newContext();
    X509_STORE* const own = SSL_CTX_get_cert_store(filled.get());
    X509_STORE_add_cert(own, certificatesOf(three())->front().get());
    TrustedCertificates(one(), two()).addTo(filled.get());
    EXPECT_EQ(own, SSL_CTX_get_cert_store(filled.get()));
    EXPECT_EQ(static_cast<int>(rootCertificates().size()) + 3,
              sk_X509_OBJECT_num(X509_STORE_get0_objects(own)));
}

TEST(ClientIdentity, SaysWhatIsMissingEachTime) {
    const Identity mine("mine");
    const Identity other("other");
    const char noCertificate[] = "PEM_read_bio_X509 failed.";
    const char unusedCertificate[] = "Use certificate failed";
    const char noKey[] = "Failed to create key bio";
    const char unusedKey[] = "Use Key failed";
    const char encrypted[] = "the client's key is encrypted, and there is no password for it";
    const char wrongPassword[] = "wrong password: it doesn't decrypt the client's key";
    const Identity root("root");
    const Identity middle("middle", &root);
    const Identity leaf("leaf", &middle);
    const struct {
        const char* why;
        std::string pem;
        const char* password;
        std::set<std::string> logged;
        const char* shown;
        bool key;
    } rows[] = {
        {"whole", mine.certificate() + mine.key("secret"), "secret", {}, "mine", true},
        {"a key without password", mine.certificate() + mine.key(), "", {}, "mine", true},
        {"a password that isn't needed", mine.certificate() + mine.key(), "secret", {}, "mine", true},
        {"wrong password",
         mine.certificate() + mine.key("secret"),
         "Secret",
         {noKey, unusedKey, wrongPassword},
         "mine",
         false},
        {"no password",
         mine.certificate() + mine.key("secret"),
         "",
         {noKey, unusedKey, encrypted},
         "mine",
         false},
        {"no key", mine.certificate(), "", {noKey, unusedKey}, "mine", false},
        {"another's key", mine.certificate() + other.key(), "", {unusedKey}, "mine", false},
        {"a chain",
         leaf.certificate() + middle.certificate() + root.certificate() + leaf.key("secret"),
         "secret",
         {},
         "leaf middle root",
         true},
        {"a chain upside down, the key in it",
         kByteOrderMark + root.certificate() + leaf.key() + middle.certificate() + leaf.certificate(),
         "",
         {},
         "leaf middle root",
         true},
        {"one that isn't of the chain",
         leaf.key() + other.certificate() + middle.certificate() + leaf.certificate(),
         "",
         {},
         "leaf middle other",
         true},
        {"no certificate", mine.key(), "", {noCertificate, unusedCertificate}, "", true},
        {"nothing of the kind",
         "hello",
         "secret",
         {noCertificate, unusedCertificate, noKey, unusedKey},
         "",
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        for (int request = 1; request <= 2; ++request) {
            const LogCapture log;
            const Context context = newContext();
            ClientIdentity::of(row.pem, row.password)->useOn(context.get());
            EXPECT_EQ(row.shown, shownBy(context.get()));
            EXPECT_EQ(row.key, SSL_CTX_get0_privatekey(context.get()) != nullptr);
            EXPECT_EQ(row.logged.size(), log.lines().size());
            for (const std::string& line : row.logged) {
                EXPECT_EQ(1, log.count("E", line)) << line;
            }
            EXPECT_EQ(0u, ERR_peek_error());
        }
    }
    EXPECT_EQ(ClientIdentity::of(rows[0].pem, "secret"), ClientIdentity::of(rows[0].pem, "secret"));
    EXPECT_NE(ClientIdentity::of(rows[0].pem, "secret"), ClientIdentity::of(rows[0].pem, "Secret"));
}
