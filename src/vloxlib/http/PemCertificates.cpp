#include "vloxlib/http/PemCertificates.h"

#include <openssl/pem.h>

#include <algorithm>
#include <string_view>

#include "vloxlib/http/RecentValues.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr std::size_t kTextsKept = 16;
constexpr std::string_view kBegin = "-----BEGIN ";

// Where the next block begins: its line has nothing in front of it.
std::size_t findBlock(std::string_view pem, std::size_t from) {
    std::size_t at = pem.find(kBegin, from);
    while (at != std::string_view::npos && at != 0 && pem[at - 1] != '\n') {
        at = pem.find(kBegin, at + 1);
    }
    return at;
}

bool isCertificate(std::string_view block) {
    const std::string_view label = block.substr(kBegin.size());
    return label.rfind("CERTIFICATE-----", 0) == 0 || label.rfind("X509 CERTIFICATE-----", 0) == 0;
}

// A block can claim to be encrypted; nobody is to be asked for a password at a terminal.
int noPassword(char*, int, int, void*) { return -1; }

OpensslHandle<X509> parseBlock(std::string_view block) {
    const OpensslHandle<BIO> reader = readerOf(block.data(), block.size());
    return OpensslHandle<X509>(PEM_read_bio_X509(reader.get(), nullptr, &noPassword, nullptr));
}

// The text is cut where blocks begin, so that what is wrong with one, a lost end for example, can't reach the
// next.
Certificates parse(std::string_view pem) {
    const OpensslErrors errors;
    Certificates certificates;
    std::size_t next = 0;
    for (std::size_t at = findBlock(pem, 0); at != std::string_view::npos; at = next) {
        next = findBlock(pem, at + 1);
        const std::string_view block = pem.substr(at, next - at);
        if (!isCertificate(block)) {
            continue;
        }
        if (OpensslHandle<X509> certificate = parseBlock(block)) {
            readExtensions(certificate.get());
            certificates.push_back(std::move(certificate));
        } else {
            VLOX_LOG(
                3, "a malformed certificate is skipped, line=%d",
                static_cast<int>(std::count(pem.begin(), pem.begin() + static_cast<long>(at), '\n')) + 1);
        }
    }
    return certificates;
}

}  // namespace

// Never destroyed, as an exchange may run while the process ends; so are the others of this kind.
std::shared_ptr<const Certificates> certificatesOf(const std::string& pem) {
    static auto& texts = *new RecentValues<std::string, std::shared_ptr<const Certificates>>(kTextsKept);
    return texts.get(pem, [&] { return std::make_shared<const Certificates>(parse(pem)); });
}

const Certificates& rootCertificates() {
    static const auto& roots = *new Certificates(parse(builtInRootCertificates()));
    return roots;
}

}  // namespace vloxlib
