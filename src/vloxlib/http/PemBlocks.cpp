#include "vloxlib/http/PemBlocks.h"

#include <algorithm>

namespace vloxlib {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool beginsALine(std::string_view before) {
    if (endsWith(before, kByteOrderMark)) {
        before.remove_suffix(kByteOrderMark.size());
    }
    return before.empty() || before.back() == '\n';
}

std::size_t findBlock(std::string_view text, std::size_t from) {
    std::size_t at = text.find(kBegin, from);
    while (at != std::string_view::npos && !beginsALine(text.substr(0, at))) {
        at = text.find(kBegin, at + 1);
    }
    return at;
}

std::string_view labelOf(std::string_view block) {
    block.remove_prefix(kBegin.size());
    return block.substr(0, block.find("-----"));
}

int noPassword(char*, int, int, void*) { return -1; }

}  // namespace

std::vector<PemBlock> pemBlocksOf(std::string_view text) {
    std::vector<PemBlock> blocks;
    int line = 1;
    std::size_t counted = 0;
    std::size_t next = 0;
    for (std::size_t at = findBlock(text, 0); at != std::string_view::npos; at = next) {
        next = findBlock(text, at + 1);
        const std::string_view before = text.substr(counted, at - counted);
        line += static_cast<int>(std::count(before.begin(), before.end(), '\n'));
        counted = at;
        blocks.push_back({text.substr(at, next - at), line});
    }
    return blocks;
}

bool PemBlock::isCertificate() const {
    const std::string_view label = labelOf(text);
    return label == PEM_STRING_X509 || label == PEM_STRING_X509_OLD || label == PEM_STRING_X509_TRUSTED;
}

bool PemBlock::isPrivateKey() const { return endsWith(labelOf(text), "PRIVATE KEY"); }

bool PemBlock::isEncrypted() const {
    return labelOf(text) == PEM_STRING_PKCS8 || text.find("Proc-Type: 4,ENCRYPTED") != std::string_view::npos;
}

OpensslHandle<X509> PemBlock::certificate(pem_password_cb* password, void* argument) const {
    const OpensslHandle<BIO> reader = readerOf(text.data(), text.size());
    return OpensslHandle<X509>(
        PEM_read_bio_X509_AUX(reader.get(), nullptr, password ? password : &noPassword, argument));
}

OpensslHandle<EVP_PKEY> PemBlock::privateKey(pem_password_cb* password, void* argument) const {
    const OpensslHandle<BIO> reader = readerOf(text.data(), text.size());
    return OpensslHandle<EVP_PKEY>(PEM_read_bio_PrivateKey(reader.get(), nullptr, password, argument));
}

}  // namespace vloxlib
