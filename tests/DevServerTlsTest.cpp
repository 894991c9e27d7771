#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/DevServer.h"
#include "support/TempDir.h"
#include "vloxlib/encrypt/Base64.h"

namespace {

using testing::HasSubstr;
using vlox_test::DevServer;
using vlox_test::Outcome;
using vlox_test::runDevServer;
using vlox_test::TempDir;
using vloxlib::Base64;
namespace fs = std::filesystem;

const char* const hosts[] = {"localhost", "127.0.0.1"};

struct CloseHandle {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

std::size_t append(char* bytes, std::size_t, std::size_t size, void* body) {
    static_cast<std::string*>(body)->append(bytes, size);
    return size;
}

// A client with nothing of the library in it: it trusts one authority and checks what there is to check.
class Client {
public:
    explicit Client(const std::string& authorityFile) : m_curl(curl_easy_init()) {
        set(CURLOPT_CAINFO, authorityFile.c_str());
        set(CURLOPT_WRITEFUNCTION, append);
        set(CURLOPT_WRITEDATA, &m_body);
        set(CURLOPT_NOPROXY, "*");
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_TIMEOUT, 60L);
    }
    template <typename Value>
    void set(CURLoption option, Value value) {
        ASSERT_EQ(CURLE_OK, curl_easy_setopt(m_curl.get(), option, value));
    }
    void show(const std::string& certificateFile, const std::string& password) {
        set(CURLOPT_SSLCERT, certificateFile.c_str());
        set(CURLOPT_KEYPASSWD, password.c_str());
    }
    CURLcode get(const std::string& url) {
        m_body.clear();
        set(CURLOPT_URL, url.c_str());
        return curl_easy_perform(m_curl.get());
    }
    const std::string& body() const { return m_body; }
    long verifyResult() const {
        long result = -1;
        curl_easy_getinfo(m_curl.get(), CURLINFO_SSL_VERIFYRESULT, &result);
        return result;
    }
    // What a connected client sends by hand, without reading an answer.
    void send(const std::string& bytes) {
        std::size_t sent = 0;
        EXPECT_EQ(CURLE_OK, curl_easy_send(m_curl.get(), bytes.data(), bytes.size(), &sent));
        EXPECT_EQ(bytes.size(), sent);
    }

private:
    std::unique_ptr<CURL, CloseHandle> m_curl;
    std::string m_body;
};

// A server with TLS, whose files go with it.
struct DevServerTls : testing::Test {
    const TempDir keys;
    DevServer server{{"--tls", "--keys", keys.path("made/here")}};

    std::string file(const std::string& name) const { return keys.path("made/here/tls/" + name); }
};

TEST_F(DevServerTls, EachPortShowsTheCertificateThatItPromises) {
    struct Row {
        const char* port;
        CURLcode code;
        long verified;
    };
    const Row rows[] = {
        {"good", CURLE_OK, X509_V_OK},
        {"expired", CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_CERT_HAS_EXPIRED},
        {"notYetValid", CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_CERT_NOT_YET_VALID},
        {"unknownAuthority", CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
    };
    for (const Row& row : rows) {
        for (const char* host : hosts) {
            SCOPED_TRACE(std::string(row.port) + " as " + host);
            Client client(server.authorityFile());
            EXPECT_EQ(row.code, client.get(server.httpsUrl(row.port, "/stats", host)));
            EXPECT_EQ(row.verified, client.verifyResult());
        }
    }
    for (const char* host : hosts) {
        Client careful(server.authorityFile());
        EXPECT_EQ(CURLE_PEER_FAILED_VERIFICATION, careful.get(server.httpsUrl("wrongHost", "/stats", host)));
        careful.set(CURLOPT_SSL_VERIFYHOST, 0L);
        EXPECT_EQ(CURLE_OK, careful.get(server.httpsUrl("wrongHost", "/stats", host)))
            << "wrong in more than the host";
        Client stranger(file("unknown-authority.pem"));
        EXPECT_EQ(CURLE_OK, stranger.get(server.httpsUrl("unknownAuthority", "/stats", host)))
            << "wrong in more than the authority";
    }
}

TEST_F(DevServerTls, OnePortWantsAClientsCertificate) {
    const std::string url = server.httpsUrl("clientCertificate", "/stats");
    Client nobody(server.authorityFile());
    EXPECT_NE(CURLE_OK, nobody.get(url));
    Client stranger(server.authorityFile());
    stranger.show(file("server-unknown-authority.pem"), "");
    EXPECT_NE(CURLE_OK, stranger.get(url));
    Client forgetful(server.authorityFile());
    forgetful.show(server.clientFile(), "guessed");
    EXPECT_EQ(CURLE_SSL_CERTPROBLEM, forgetful.get(url));

    EXPECT_EQ(1, server.stats()["paths"]["stats"].GetInt()) << "somebody got through";
    Client client(server.authorityFile());
    client.show(server.clientFile(), server.clientKeyPassword());
    client.set(CURLOPT_FORBID_REUSE, 1L);  // the second connection goes on with the session of the first
    for (const char* host : hosts) {
        EXPECT_EQ(CURLE_OK, client.get(server.httpsUrl("clientCertificate", "/stats", host)));
    }
    EXPECT_EQ(CURLE_OK, client.get(url));
}

TEST_F(DevServerTls, SpeaksTheWholeWireFormatOverTls) {
    const std::string header = "VLOX-Ext: " + Base64::encode(R"({"deviceType":0,"vloxId":"u"})");
    const std::unique_ptr<curl_slist, CloseHandle> headers(curl_slist_append(nullptr, header.c_str()));
    Client client(server.authorityFile());
    client.set(CURLOPT_HTTPHEADER, headers.get());
    const std::string large(3'000'000, 'x');  // far more than one record of TLS
    std::string fields = "params=" + Base64::encode(R"({"text":")" + large + "\"}");
    client.set(CURLOPT_POSTFIELDS, fields.c_str());
    EXPECT_EQ(CURLE_OK, client.get(server.httpsUrl("good", "/vlox/echo")));
    EXPECT_THAT(client.body(),
                HasSubstr(Base64::encode(R"({"method":"POST","path":"echo","appId":"","header":)"
                                         R"({"deviceType":0,"vloxId":"u"},"params":{"text":")" +
                                         large + "\"}}")));

    fields = "params=" + Base64::encode(R"({"domainName":"x"})");
    client.set(CURLOPT_POSTFIELDS, fields.c_str());
    client.set(CURLOPT_SSL_VERIFYPEER, 0L);
    const struct {
        std::string from;
        const char* tlsPort;
    } queries[] = {
        {server.url(), "good"}, {server.httpsUrl("good"), "good"}, {server.httpsUrl("expired"), "expired"}};
    for (const auto& [from, tlsPort] : queries) {
        const int port = server.line()["tls"]["ports"][tlsPort].GetInt();
        const std::string data = R"([{"type":"PCS","serverList":[{"serverAddr":"127.0.0.1","port":)" +
                                 std::to_string(server.port()) + R"(,"httpsPort":)" + std::to_string(port) +
                                 "}]},";
        EXPECT_EQ(CURLE_OK, client.get(from + "/server/address/query"));
        // Whole groups of three bytes, so that the text's beginning is its Base64's beginning.
        EXPECT_THAT(client.body(), HasSubstr(Base64::encode(data.substr(0, data.size() / 3 * 3))));
    }
}

std::map<std::string, std::string> filesIn(const std::string& directory) {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        std::ostringstream content;
        content << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        files[entry.path().filename().string()] = content.str();
    }
    return files;
}

TEST(DevServerTlsFiles, AreKeptForLaterStarts) {
    const TempDir dir;
    dir.write("tls.new", "what a start left that was killed");
    const std::vector<std::string> options{"--tls", "--keys", dir.path(), "--stop-on-eof"};
    EXPECT_EQ(0, runDevServer(options).exitCode);
    EXPECT_FALSE(fs::exists(dir.path("tls.new")));
    const auto made = filesIn(dir.path("tls"));
    EXPECT_EQ(10u, made.size());
    for (const auto& [name, content] : made) {
        EXPECT_EQ(name == "client.pem", content.find("ENCRYPTED PRIVATE KEY") != std::string::npos) << name;
    }
    EXPECT_EQ(0, runDevServer(options).exitCode);
    EXPECT_EQ(made, filesIn(dir.path("tls")));
}

TEST(DevServerTlsFiles, DamageGivesOneLineThatNamesTheFile) {
    const TempDir dir;
    const std::vector<std::string> options{"--tls", "--keys", dir.path(), "--stop-on-eof"};
    ASSERT_EQ(0, runDevServer(options).exitCode);
    const auto made = filesIn(dir.path("tls"));
    struct Row {
        const char* why;
        std::string file;
        std::string content;
        const char* message;
    };
    const std::string& server = made.at("server.pem");
    const Row rows[] = {
        {"nothing in it", "client.pem", "", "client.pem holds no certificate"},
        {"no key", "server.pem", server.substr(0, server.find("-----BEGIN PRIVATE")),
         "server.pem holds no key"},
        {"cut off", "server-expired.pem", made.at("server-expired.pem").substr(0, 300),
         "holds no certificate"},
        {"another key", "authority.key", made.at("unknown-authority.key"),
         "authority.key holds no key that fits"},
        {"by another authority", "server.pem", made.at("server-unknown-authority.pem"),
         "server.pem is signed by somebody else"},
        {"another authority", "unknown-authority.pem", made.at("authority.pem"),
         "unknown-authority.pem with"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        dir.write("tls/" + row.file, row.content);
        const Outcome outcome = runDevServer(options);
        EXPECT_EQ(1, outcome.exitCode);
        EXPECT_EQ("", outcome.output);
        EXPECT_THAT(outcome.errors, HasSubstr(row.message));
        EXPECT_EQ(1, std::count(outcome.errors.begin(), outcome.errors.end(), '\n')) << outcome.errors;
        dir.write("tls/" + row.file, made.at(row.file));
    }
    EXPECT_EQ(0, runDevServer(options).exitCode);
}

TEST_F(DevServerTls, EndsWhateverItsClientsAreDoing) {
    const Poco::Net::SocketAddress address(
        "127.0.0.1", static_cast<Poco::UInt16>(server.line()["tls"]["ports"]["good"].GetInt()));
    const Poco::Net::StreamSocket silent(address);
    Poco::Net::StreamSocket halfway(address);
    halfway.sendBytes("\x16\x03\x01\x02", 4);  // the beginning of a handshake
    const std::string requests[] = {
        "",  // a handshake only
        "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\nabc",
        "GET /mirror/@delay=600000 HTTP/1.1\r\nHost: x\r\n\r\n",
        "GET /file/download/@zeros=10000000000?fileUrl=x HTTP/1.1\r\nHost: x\r\n\r\n",
    };
    std::list<Client> clients;
    for (const std::string& request : requests) {
        Client& client = clients.emplace_back(server.authorityFile());
        client.set(CURLOPT_CONNECT_ONLY, 1L);
        ASSERT_EQ(CURLE_OK, client.get(server.httpsUrl("good")));
        if (!request.empty()) {
            client.send(request);
        }
    }
    server.awaitCount("requests", 3);
    EXPECT_EQ(0, server.stop());
}

}  // namespace
