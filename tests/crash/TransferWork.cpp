#include <filesystem>
#include <fstream>
#include <random>

#include "crash/Work.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/HttpClient.h"

using namespace vloxlib;

namespace vlox_test {

namespace {

class Mover {
public:
    explicit Mover(const std::string& directory)
        : m_directory(directory), m_orders(directory + "/orders"), m_random(std::random_device{}()) {
        m_orders >> m_downloadUrl >> m_uploadUrl >> m_uuid;
    }

    [[noreturn]] void run() {
        for (;;) {
            long left = 0;
            long right = 0;
            if (m_random() % 4 != 0 && m_orders >> left >> right) {
                send(left, right);
            } else {
                fetch();
            }
        }
    }

private:
    // What a careful download refuses to go on with, it starts anew next time.
    void fetch() {
        acknowledge("fetch", [&] {
            int code = download();
            if (code == native::kUnknown) {
                tell("ok refuse");
                code = download();
            }
            if (code == 0) {
                tell("ok come");
                std::filesystem::rename(m_directory + "/part", m_directory + "/whole");
            }
            return code;
        });
    }
    int download() {
        HttpClient client;
        client.createGetRequest(m_downloadUrl);
        client.setCarefulDownload(m_directory + "/part");
        return client.performSync(nullptr, nullptr);
    }

    void send(long left, long right) {
        const std::string from = std::to_string(left);
        const std::string to = std::to_string(right);
        acknowledge("send " + from + " " + to, [&] {
            HttpClient client;
            client.createPostRequest(m_uploadUrl);
            client.addParam("fileUUID", m_uuid);
            client.addParam("chunkOffserL", from);
            client.addParam("chunkOffserR", to);
            client.setUploadFile("file", m_directory + "/source", left, right, 0);
            client.setProgressCallback([](int) {});
            const int code = client.performSync(nullptr, nullptr);
            const bool taken = client.getResultData().find(R"("code":"0")") != std::string::npos;
            return code != 0 || taken ? code : -1;
        });
    }

    const std::string m_directory;
    std::ifstream m_orders;  // the addresses, and then the slices that are still to be sent
    std::string m_downloadUrl;
    std::string m_uploadUrl;
    std::string m_uuid;
    std::mt19937 m_random;
};

}  // namespace

void workTransfer(const std::string& directory) { Mover(directory).run(); }

}  // namespace vlox_test
