// One exchange by HttpClient beside the same exchange by a bare libcurl handle: a fresh handle and a fresh
// connection each time on both sides, the same limits, the same server on the loopback address.
#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "TakeTurns.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/HttpHelper.h"

namespace {

const std::string kReply =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nServer: bench\r\nContent-Length: 12\r\n"
    "Connection: close\r\n\r\n{\"code\":\"0\"}";

// Answers each connection with the same few bytes; runs until the process ends.
class Server {
public:
    static std::string url(const std::string& host = "127.0.0.1") {
        return "http://" + host + ":" + port() + "/vlox/echo";
    }
    static std::string port() {
        static auto* const server = new Server;
        return std::to_string(server->m_socket.address().port());
    }

private:
    Server() : m_socket(Poco::Net::SocketAddress("127.0.0.1", 0), 1024) {
        std::thread([this] { serve(); }).detach();
    }
    void serve() {
        for (;;) {
            try {
                Poco::Net::StreamSocket client = m_socket.acceptConnection();
                char request[16384];
                client.receiveBytes(request,
                                    sizeof request);  // the loopback brings a small request in one piece
                client.sendBytes(kReply.data(), static_cast<int>(kReply.size()));
            } catch (const Poco::Exception&) {
                // A client that has gone is no reason to stop.
            }
        }
    }

    Poco::Net::ServerSocket m_socket;
};

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(bytes, size * count);
    return size * count;
}

// What both sides have in common.
CURL* bareHandle(const std::string& url, std::string& body) {
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 10L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 15L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    return curl;
}

bool getByVlox(const std::string& url) {
    vloxlib::HttpClient client;
    client.createGetRequest(url);
    auto qos = std::make_shared<vloxlib::QosParams>();
    qos->timeout = 15;
    qos->connectTimeout = 10;
    long status = 0;
    return client.performSync(qos, &status) == 0 && !client.getResultData().empty();
}

bool getByBare(const std::string& url, curl_slist* resolve) {
    std::string body;
    CURL* const curl = bareHandle(url, body);
    curl_easy_setopt(curl, CURLOPT_RESOLVE, resolve);
    const bool good = curl_easy_perform(curl) == CURLE_OK && !body.empty();
    curl_easy_cleanup(curl);
    return good;
}

bool getAddressByVlox() { return getByVlox(Server::url()); }
bool getAddressByBare() { return getByBare(Server::url(), nullptr); }

// By name: the library's own resolver knows the address after the first time.
bool getNameByVlox() { return getByVlox(Server::url("localhost")); }
bool getNameByBare() {
    curl_slist* const resolve =
        curl_slist_append(nullptr, ("localhost:" + Server::port() + ":127.0.0.1").c_str());
    const bool good = getByBare(Server::url("localhost"), resolve);
    curl_slist_free_all(resolve);
    return good;
}

const char kParams[] = R"({"cmd":"send","text":"a short message of some forty bytes","to":"someone"})";

// A client without encryption.
class Client {
public:
    static vloxlib::HttpHelper& helper() {
        static const Client client;
        return *client.m_helper;
    }

private:
    Client() {
        m_config->setConfig(vloxlib::CONFIG_ENCRYPT_POLICY, 0);
        m_config->setConfig(vloxlib::CONFIG_SYM_ENCRYPT_TYPE, 0);
        m_config->setConfig(vloxlib::CONFIG_ENCRYPT_PUBKEY, "none");
        m_bridge->initial();
        vloxlib::Context::getInstance()->setContext(vloxlib::CONTEXT_DATA_DIR,
                                                    std::filesystem::temp_directory_path().string());
        m_helper = vloxlib::HttpHelper::getInstance(vloxlib::UserInfo("app", "bench"));
    }

    std::shared_ptr<vloxlib::ConfigManager> m_config = vloxlib::ConfigManager::getInstance("bench");
    std::shared_ptr<vloxlib::EncryptBridge> m_bridge = vloxlib::EncryptBridge::getInstance("bench");
    std::shared_ptr<vloxlib::HttpHelper> m_helper;
};

bool requestByVlox() {
    const std::string result = Client::helper().doSyncHttpRequest(
        vloxlib::HTTP_METHOD_POST, vloxlib::HTTP_BUSINESS_AS, Server::url(), kParams);
    return result == R"({"returnCode":0})";
}

// The same bytes on the wire, ready made.
bool requestByBare() {
    static const std::string form =
        "params=" + vloxlib::Base64::encode(std::string(kParams, sizeof kParams - 2) + R"(,"token":""})");
    static const std::string extension =
        "VLOX-Ext: " + vloxlib::Base64::encode(R"({"deviceType":0,"vloxId":"bench"})");
    std::string body;
    CURL* const curl = bareHandle(Server::url(), body);
    curl_slist* const headers = curl_slist_append(curl_slist_append(nullptr, extension.c_str()), "Expect:");
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, form.c_str());
    const bool good = curl_easy_perform(curl) == CURLE_OK && body == R"({"code":"0"})";
    curl_easy_cleanup(curl);
    curl_slist_free_all(headers);
    return good;
}

BENCHMARK_CAPTURE(takeTurns, , getAddressByVlox, getAddressByBare)
    ->Name("Http/GET by performSync/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurns, , getAddressByBare, getAddressByVlox)
    ->Name("Http/GET by performSync/bare")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurns, , getNameByVlox, getNameByBare)
    ->Name("Http/GET with pinning/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurns, , getNameByBare, getNameByVlox)
    ->Name("Http/GET with pinning/bare")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurns, , requestByVlox, requestByBare)
    ->Name("Http/service request/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(takeTurns, , requestByBare, requestByVlox)
    ->Name("Http/service request/bare")
    ->UseManualTime();

}  // namespace
