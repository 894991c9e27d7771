#include "vloxlib/http/PemCertificates.h"

#include "vloxlib/http/PemBlocks.h"
#include "vloxlib/http/RecentValues.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr std::size_t kTextsKept = 16;

Certificates parse(std::string_view pem) {
    const OpensslErrors errors;
    Certificates certificates;
    for (const PemBlock& block : pemBlocksOf(pem)) {
        if (!block.isCertificate()) {
            continue;
        }
        if (OpensslHandle<X509> certificate = block.certificate()) {
            readExtensions(certificate.get());
            certificates.push_back(std::move(certificate));
        } else {
            VLOX_LOG(3, "a malformed certificate is skipped, line=%d", block.line);
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
