// One file up or down by HttpClient, for whoever measures this process's memory from outside: it prints a
// line before the transfer and one behind it, and goes on when it reads one.
#include <cstdio>
#include <iostream>
#include <string>

#include "vloxlib/http/HttpClient.h"

namespace {

void meet(const char* what) {
    std::cout << what << std::endl;
    std::string line;
    std::getline(std::cin, line);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: transfer_memory upload|download <url> <file>\n", stderr);
        return 2;
    }
    meet("ready");
    int code = 0;
    {
        vloxlib::HttpClient client;
        client.setProgressCallback([](int) {});
        if (argv[1] == std::string("upload")) {
            client.createPostRequest(argv[2]);
            code = client.setUploadFile("file", argv[3], -1, -1, 0);
        } else {
            client.createGetRequest(argv[2]);
            code = client.setDownloadFile(argv[3], 0, 0);
        }
        code = code != 0 ? code : client.performSync(nullptr, nullptr);
    }
    meet("done");
    return code == 0 ? 0 : 1;
}
