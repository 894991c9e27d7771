#ifndef VLOXLIB_HTTP_PEMBLOCKS_H
#define VLOXLIB_HTTP_PEMBLOCKS_H

#include <openssl/pem.h>

#include <string_view>
#include <vector>

#include "vloxlib/http/OpensslHandles.h"

namespace vloxlib {

/// @brief One block of a PEM text, from its first line to where the next block begins.
///
/// What is wrong with a block, a lost end for example, can't reach the next one. Points into the text.
struct PemBlock {
    std::string_view text;
    int line;  ///< where it begins in the whole text, counted from 1

    bool isCertificate() const;
    bool isPrivateKey() const;
    bool isEncrypted() const;

    /// @param password called when the block is encrypted; nobody is ever asked at a terminal
    /// @return null for what is malformed
    OpensslHandle<X509> certificate(pem_password_cb* password = nullptr, void* argument = nullptr) const;
    OpensslHandle<EVP_PKEY> privateKey(pem_password_cb* password, void* argument) const;
};

/// @brief The blocks of a text in their order. A block's first line has nothing in front of it but, maybe,
/// the byte order mark of UTF-8, with which editors begin a file.
std::vector<PemBlock> pemBlocksOf(std::string_view text);

}  // namespace vloxlib

#endif
