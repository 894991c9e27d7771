#include <openssl/crypto.h>

namespace {

// Threads may still encrypt or speak TLS while the process goes down, so that OpenSSL isn't to clean up after
// itself then. That is only heeded ahead of its first use.
[[maybe_unused]] const int s_kept = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);

}  // namespace
