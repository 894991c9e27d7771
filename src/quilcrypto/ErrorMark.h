#ifndef QUILCRYPTO_ERRORMARK_H
#define QUILCRYPTO_ERRORMARK_H

#include <openssl/err.h>

namespace vloxlib::quil {

// Failures are told by results. What OpenSSL leaves in the thread's error queue meanwhile is taken out again,
// so that it can't be mistaken by the queue's next reader on this thread, the TLS of an exchange for example.
class ErrorMark {
public:
    ErrorMark() { ERR_set_mark(); }
    ~ErrorMark() { ERR_pop_to_mark(); }
    ErrorMark(const ErrorMark&) = delete;
    ErrorMark& operator=(const ErrorMark&) = delete;
};

}  // namespace vloxlib::quil

#endif
