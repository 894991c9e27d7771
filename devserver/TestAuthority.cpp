#include "TestAuthority.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "Credential.h"
#include "PrivateFile.h"

namespace devserver {
namespace {

namespace fs = std::filesystem;

// In days. A server's certificate that isn't valid yet is so for as long as the others are valid.
constexpr int kLongAgo = -1000;
constexpr int kYesterday = -1;
constexpr int kInTenYears = 3650;
constexpr int kInTwentyYears = 7300;

const CertificateRequest kAuthority{CertificateRequest::Authority, "vlox test authority", "", kLongAgo,
                                    kInTwentyYears};
const CertificateRequest kUnknownAuthority{CertificateRequest::Authority, "vlox unknown test authority", "",
                                           kLongAgo, kInTwentyYears};

struct Leaf {
    const char* file;
    const CertificateRequest& authority;
    CertificateRequest request;
};

const char* const kHere = "DNS:localhost,IP:127.0.0.1";

const Leaf kLeaves[] = {
    {"server.pem", kAuthority, {CertificateRequest::Server, "vlox server", kHere, kYesterday, kInTenYears}},
    {"server-wrong-host.pem",
     kAuthority,
     {CertificateRequest::Server, "vlox server elsewhere", "DNS:elsewhere.invalid", kYesterday, kInTenYears}},
    {"server-expired.pem",
     kAuthority,
     {CertificateRequest::Server, "vlox server of old", kHere, kLongAgo, kYesterday}},
    {"server-not-yet-valid.pem",
     kAuthority,
     {CertificateRequest::Server, "vlox server to come", kHere, kInTenYears, kInTwentyYears}},
    {"server-unknown-authority.pem",
     kUnknownAuthority,
     {CertificateRequest::Server, "vlox server of strangers", kHere, kYesterday, kInTenYears}},
    {"client.pem", kAuthority, {CertificateRequest::Client, "vlox client", "", kYesterday, kInTenYears}},
};

const char* passwordOf(const Leaf& leaf) {
    return leaf.request.role == CertificateRequest::Client ? TestAuthority::kClientKeyPassword : "";
}

// The certificate is for everybody, the key is not.
void writeAuthority(const fs::path& directory, const std::string& name, const Credential& authority) {
    writePrivateFile(directory / (name + ".key"), authority.keyPem(""));
    std::ofstream sink(directory / (name + ".pem"), std::ios::binary);
    sink << authority.certificatePem() << std::flush;
    if (!sink) {
        throw std::runtime_error("can't write " + (directory / (name + ".pem")).string());
    }
}

void writeAll(const fs::path& directory) {
    const Credential authority(kAuthority, nullptr);
    const Credential unknown(kUnknownAuthority, nullptr);
    writeAuthority(directory, "authority", authority);
    writeAuthority(directory, "unknown-authority", unknown);
    for (const Leaf& leaf : kLeaves) {
        const Credential credential(leaf.request, &leaf.authority == &kAuthority ? &authority : &unknown);
        writePrivateFile(directory / leaf.file,
                         credential.certificatePem() + credential.keyPem(passwordOf(leaf)));
    }
}

// Whole or not at all: a start that is killed in the middle leaves nothing that the next one would take.
void makeDirectory(const fs::path& directory) {
    const fs::path unfinished = directory.string() + ".new";
    fs::remove_all(unfinished);
    fs::create_directories(unfinished);
    writeAll(unfinished);
    fs::rename(unfinished, directory);
}

Credential readCredential(const std::string& whence, const std::string& pem, const char* password) {
    try {
        return {pem, password};
    } catch (const CredentialError& error) {
        throw std::runtime_error(whence + " " + error.what());
    }
}

Credential readAuthority(const fs::path& directory, const std::string& name) {
    const std::string whole = (directory / name).string();
    return readCredential(whole + ".pem with " + name + ".key",
                          readFile(whole + ".pem") + readFile(whole + ".key"), "");
}

void checkAll(const fs::path& directory) {
    const Credential authority = readAuthority(directory, "authority");
    const Credential unknown = readAuthority(directory, "unknown-authority");
    for (const Leaf& leaf : kLeaves) {
        const fs::path file = directory / leaf.file;
        if (!readCredential(file.string(), readFile(file), passwordOf(leaf))
                 .isIssuedBy(&leaf.authority == &kAuthority ? authority : unknown)) {
            throw std::runtime_error(file.string() + " is signed by somebody else");
        }
    }
}

}  // namespace

TestAuthority::TestAuthority(std::string directory) : m_directory(std::move(directory)) {
    if (!fs::exists(m_directory)) {
        makeDirectory(m_directory);
    }
    try {
        checkAll(m_directory);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string(error.what()) + "; without " + m_directory +
                                 " the next start makes all of it anew");
    }
}

std::string TestAuthority::file(const std::string& name) const {
    return (fs::path(m_directory) / name).string();
}

}  // namespace devserver
