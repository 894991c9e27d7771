#include "vloxlib/http/TrustedCertificates.h"

#include <new>
#include <tuple>

#include "vloxlib/http/RecentValues.h"

namespace vloxlib {

namespace {

constexpr std::size_t kStoresKept = 16;

}  // namespace

TrustedCertificates::TrustedCertificates(const std::string& caContent, const std::string& caFileContent)
    : m_content(certificatesOf(caContent)), m_fileContent(certificatesOf(caFileContent)) {}

// A hundred certificates take a moment to be put into a store: an empty one is exchanged for one that is
// shared by all who trust the same, and is as strict. OpenSSL locks a store while it looks into it.
void TrustedCertificates::addTo(SSL_CTX* context) const {
    const OpensslErrors errors;
    X509_STORE* const store = SSL_CTX_get_cert_store(context);
    if (sk_X509_OBJECT_num(X509_STORE_get0_objects(store)) > 0) {
        addTo(store);
        return;
    }
    const unsigned long flags = X509_VERIFY_PARAM_get_flags(X509_STORE_get0_param(store));
    SSL_CTX_set1_cert_store(context, storeWith(flags).get());
}

void TrustedCertificates::addTo(X509_STORE* store) const {
    for (const Certificates* const certificates :
         {m_content.get(), &rootCertificates(), m_fileContent.get()}) {
        for (const OpensslHandle<X509>& certificate : *certificates) {
            X509_STORE_add_cert(store, certificate.get());
        }
    }
}

std::shared_ptr<X509_STORE> TrustedCertificates::storeWith(unsigned long flags) const {
    using Key =
        std::tuple<std::shared_ptr<const Certificates>, std::shared_ptr<const Certificates>, unsigned long>;
    static auto& stores = *new RecentValues<Key, std::shared_ptr<X509_STORE>>(kStoresKept);
    return stores.get({m_content, m_fileContent, flags}, [&] {
        OpensslHandle<X509_STORE> store(X509_STORE_new());
        if (!store) {
            throw std::bad_alloc();
        }
        X509_STORE_set_flags(store.get(), flags);
        addTo(store.get());
        return std::shared_ptr<X509_STORE>(std::move(store));
    });
}

}  // namespace vloxlib
