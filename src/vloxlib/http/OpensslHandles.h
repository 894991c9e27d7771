#ifndef VLOXLIB_HTTP_OPENSSLHANDLES_H
#define VLOXLIB_HTTP_OPENSSLHANDLES_H

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

namespace vloxlib {

struct OpensslRelease {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }  // which clears the key
};

template <class Handle>
using OpensslHandle = std::unique_ptr<Handle, OpensslRelease>;

/// @brief Reads from bytes that stay alive and unchanged for as long. Null when memory runs out.
inline OpensslHandle<BIO> readerOf(const char* bytes, std::size_t count) {
    return OpensslHandle<BIO>(BIO_new_mem_buf(bytes, static_cast<int>(count)));
}

/// @brief Takes the errors that come up in its life off the thread's queue again, where libcurl or the host
/// program would find them.
class OpensslErrors {
public:
    OpensslErrors() { ERR_set_mark(); }
    ~OpensslErrors() { ERR_pop_to_mark(); }
    OpensslErrors(const OpensslErrors&) = delete;
    OpensslErrors& operator=(const OpensslErrors&) = delete;
};

/// OpenSSL would read them at the certificate's first use, when several threads may already share it.
inline void readExtensions(X509* certificate) { X509_check_purpose(certificate, -1, 0); }

}  // namespace vloxlib

#endif
