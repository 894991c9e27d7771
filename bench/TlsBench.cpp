// The client's CPU time for one HTTPS exchange by HttpClient that verifies the server, beside the same by
// bare libcurl: a fresh handle and a fresh connection each time on both sides. The server is a process of its
// own.
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <openssl/ssl.h>
#include <rapidjson/document.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "TakeTurns.h"
#include "vloxlib/http/HttpClient.h"

namespace {

// The stand-in platform with its own authority. It ends with this process, which holds its standard input.
class Server {
public:
    static const Server& instance() {
        static const Server server;
        return server;
    }
    ~Server() {
        m_input.close();
        m_process.wait();
        std::filesystem::remove_all(m_place);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string url() const { return m_line["httpsUrl"].GetString() + std::string("/mirror"); }
    const std::string& authority() const { return m_authority; }
    // The authority and all roots that the library has built in.
    const std::string& bundle() const { return m_bundle; }

private:
    Server()
        : m_process(Poco::Process::launch(VLOX_DEVSERVER_PATH, {"--tls", "--keys", m_place, "--stop-on-eof"},
                                          &m_input, &m_output, nullptr)) {
        Poco::PipeInputStream output(m_output);
        std::string line;
        std::getline(output, line);
        m_line.Parse(line.c_str());
        if (m_line.HasParseError()) {
            std::cerr << "vlox-devserver didn't start\n";
            std::exit(1);
        }
        m_authority = contentOf(m_line["tls"]["authorityFile"].GetString());
        std::ofstream(m_bundle, std::ios::binary) << m_authority << contentOf(VLOX_ROOT_BUNDLE);
    }
    static std::string contentOf(const std::string& path) {
        std::ostringstream content;
        content << std::ifstream(path, std::ios::binary).rdbuf();
        return content.str();
    }

    const std::string m_place = (std::filesystem::temp_directory_path() / "vlox_bench_tls_").string() +
                                std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    const std::string m_bundle = m_place + "/bundle.pem";
    Poco::Pipe m_input;
    Poco::Pipe m_output;
    Poco::ProcessHandle m_process;  // stays below the pipes, which its launch fills
    rapidjson::Document m_line;
    std::string m_authority;
};

bool getByVlox() {
    vloxlib::HttpClient client;
    client.createGetRequest(Server::instance().url());
    client.setSecurityPolicy(vloxlib::SECURITY_POLICY_SERVER_CA);
    client.setCAContent(Server::instance().authority());
    return client.performSync(nullptr, nullptr) == 0 && !client.getResultData().empty();
}

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(bytes, size * count);
    return size * count;
}

bool getByBare(const char* bundle, curl_ssl_ctx_callback prepare) {
    std::string body;
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, Server::instance().url().c_str());
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 15L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    curl_easy_setopt(curl, CURLOPT_CAINFO, bundle);
    curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, prepare);
    const bool good = curl_easy_perform(curl) == CURLE_OK && !body.empty();
    curl_easy_cleanup(curl);
    return good;
}

bool getWithBundle() { return getByBare(Server::instance().bundle().c_str(), nullptr); }

X509_STORE* readyStore() {
    X509_STORE* const store = X509_STORE_new();
    X509_STORE_set_flags(store,
                         X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN);  // as libcurl has them
    X509_STORE_load_file(store, Server::instance().bundle().c_str());
    return store;
}

CURLcode useReadyStore(CURL*, void* context, void*) {
    static X509_STORE* const store = readyStore();
    SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(context), store);
    return CURLE_OK;
}

bool getWithReadyStore() { return getByBare(nullptr, &useReadyStore); }

// Nothing else runs in this process.
BENCHMARK_CAPTURE(takeTurnsByCpu, , getByVlox, getWithBundle)
    ->Name("Http/CPU of an HTTPS GET, against CAINFO/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurnsByCpu, , getWithBundle, getByVlox)
    ->Name("Http/CPU of an HTTPS GET, against CAINFO/bare")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurnsByCpu, , getByVlox, getWithReadyStore)
    ->Name("Http/CPU of an HTTPS GET, against a ready store/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurnsByCpu, , getWithReadyStore, getByVlox)
    ->Name("Http/CPU of an HTTPS GET, against a ready store/bare")
    ->UseManualTime();

}  // namespace
