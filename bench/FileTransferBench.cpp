// A file up and down by HttpClient beside the same by bare libcurl, over the loopback address.
#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "TakeTurns.h"
#include "vloxlib/http/HttpClient.h"

namespace {

constexpr std::size_t kSize = std::size_t{1} << 30;

// Sends a file of that size to a GET, takes in whatever a POST brings; runs until the process ends.
class Server {
public:
    static std::string url() {
        static auto* const server = new Server;
        return "http://127.0.0.1:" + std::to_string(server->m_socket.address().port()) + "/file";
    }

private:
    Server() : m_socket(Poco::Net::SocketAddress("127.0.0.1", 0)), m_buffer(1 << 18) {
        std::thread([this] { serve(); }).detach();
    }
    void serve() {
        for (;;) {
            try {
                Poco::Net::StreamSocket client = m_socket.acceptConnection();
                const std::string head = receiveHead(client);
                head.compare(0, 4, "GET ") == 0 ? sendFile(client) : takeFile(client, head);
            } catch (const Poco::Exception&) {
                // A client that has gone is no reason to stop.
            }
        }
    }
    std::string receiveHead(Poco::Net::StreamSocket& client) {
        std::string head;
        while (head.find("\r\n\r\n") == std::string::npos) {
            const int count = client.receiveBytes(m_buffer.data(), 4096);
            if (count <= 0) {
                break;
            }
            head.append(m_buffer.data(), static_cast<std::size_t>(count));
        }
        return head;
    }
    void sendFile(Poco::Net::StreamSocket& client) {
        send(client, "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
                         std::to_string(kSize) + "\r\nConnection: close\r\n\r\n");
        for (std::size_t sent = 0; sent < kSize;) {
            const std::size_t part = std::min(m_buffer.size(), kSize - sent);
            sent += static_cast<std::size_t>(client.sendBytes(m_buffer.data(), static_cast<int>(part)));
        }
    }
    void takeFile(Poco::Net::StreamSocket& client, const std::string& head) {
        send(client, "HTTP/1.1 100 Continue\r\n\r\n");
        const std::size_t length =
            std::strtoull(head.c_str() + head.find("Content-Length: ") + 16, nullptr, 10);
        std::size_t taken = head.size() - head.find("\r\n\r\n") - 4;
        while (taken < length) {
            const int count = client.receiveBytes(m_buffer.data(), static_cast<int>(m_buffer.size()));
            if (count <= 0) {
                return;
            }
            taken += static_cast<std::size_t>(count);
        }
        send(client, "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}");
    }
    static void send(Poco::Net::StreamSocket& client, const std::string& text) {
        client.sendBytes(text.data(), static_cast<int>(text.size()));
    }

    Poco::Net::ServerSocket m_socket;
    std::vector<char> m_buffer;
};

// The files of this run.
class Files {
public:
    static const std::string& source() { return instance().m_source; }
    static const std::string& target() { return instance().m_target; }
    static bool arrived() { return std::filesystem::file_size(target()) == kSize; }

private:
    Files() {
        std::FILE* const file = std::fopen(m_source.c_str(), "wb");
        std::fclose(file);
        std::filesystem::resize_file(m_source, kSize);
    }
    ~Files() {
        std::filesystem::remove(m_source);
        std::filesystem::remove(m_target);
    }
    static Files& instance() {
        static Files files;
        return files;
    }

    const std::string m_place = (std::filesystem::temp_directory_path() / "vlox_bench_transfer_").string() +
                                std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    const std::string m_source = m_place + ".source";
    const std::string m_target = m_place + ".target";
};

bool uploadByVlox() {
    vloxlib::HttpClient client;
    client.createPostRequest(Server::url());
    client.setUploadFile("file", Files::source(), -1, -1, 0);
    client.setProgressCallback([](int) {});
    return client.performSync(nullptr, nullptr) == 0;
}

bool downloadByVlox() {
    vloxlib::HttpClient client;
    client.createGetRequest(Server::url());
    client.setDownloadFile(Files::target(), 0, 0);
    client.setProgressCallback([](int) {});
    return client.performSync(nullptr, nullptr) == 0 && Files::arrived();
}

std::size_t readFile(char* buffer, std::size_t size, std::size_t count, void* file) {
    return std::fread(buffer, size, count, static_cast<std::FILE*>(file));
}

std::size_t ignoreReply(char*, std::size_t size, std::size_t count, void*) { return size * count; }

bool uploadByBare() {
    CURL* const curl = curl_easy_init();
    std::FILE* const file = std::fopen(Files::source().c_str(), "rb");
    curl_mime* const form = curl_mime_init(curl);
    curl_mimepart* const part = curl_mime_addpart(form);
    curl_mime_name(part, "file");
    curl_mime_filename(part, "source");
    curl_mime_data_cb(part, static_cast<curl_off_t>(kSize), &readFile, nullptr, nullptr, file);
    curl_easy_setopt(curl, CURLOPT_URL, Server::url().c_str());
    curl_easy_setopt(curl, CURLOPT_MIMEPOST, form);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &ignoreReply);
    const bool good = curl_easy_perform(curl) == CURLE_OK;
    curl_mime_free(form);
    std::fclose(file);
    curl_easy_cleanup(curl);
    return good;
}

bool downloadByBare() {
    CURL* const curl = curl_easy_init();
    std::FILE* const file = std::fopen(Files::target().c_str(), "wb");
    curl_easy_setopt(curl, CURLOPT_URL, Server::url().c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, file);  // libcurl's own callback is fwrite
    const bool good = curl_easy_perform(curl) == CURLE_OK;
    std::fclose(file);
    curl_easy_cleanup(curl);
    return good && Files::arrived();
}

void moveFile(benchmark::State& state, bool (*measured)(), bool (*other)()) {
    takeTurns(state, measured, other);
    state.SetBytesProcessed(static_cast<int64_t>(kSize) * state.iterations());
}

BENCHMARK_CAPTURE(moveFile, , uploadByVlox, uploadByBare)->Name("Http/upload 1 GiB/vlox")->UseManualTime();
BENCHMARK_CAPTURE(moveFile, , uploadByBare, uploadByVlox)->Name("Http/upload 1 GiB/bare")->UseManualTime();
BENCHMARK_CAPTURE(moveFile, , downloadByVlox, downloadByBare)
    ->Name("Http/download 1 GiB/vlox")
    ->UseManualTime();
BENCHMARK_CAPTURE(moveFile, , downloadByBare, downloadByVlox)
    ->Name("Http/download 1 GiB/bare")
    ->UseManualTime();

}  // namespace
