#include "crash/TransferCrash.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/MD5.h"

using vloxlib::Base64;
using vloxlib::MD5;

namespace vlox_test {

namespace {

constexpr std::size_t kSlice = 32768;

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

bool beginsWith(const std::string& whole, const std::string& part) {
    return whole.compare(0, part.size(), part) == 0;
}

rapidjson::Document dataOf(const DevServer::Reply& reply) {
    rapidjson::Document envelope;
    envelope.Parse(reply.body.c_str());
    if (!envelope.IsObject() || !envelope.HasMember("data")) {
        throw std::runtime_error("the platform answers " + reply.body);
    }
    rapidjson::Document data;
    data.Parse(Base64::decode(envelope["data"].GetString()).c_str());
    return data;
}

}  // namespace

TransferCrash::TransferCrash(const std::string& directory, unsigned seed)
    : CrashRun("transfer", directory, seed), m_platform({"--files", directory + "/platform"}) {
    serveOther();
    offerOther();
}

void TransferCrash::killOnce() {
    if (random() % 8 == 0) {
        serveOther();
    }
    giveOrders();
    Told told;
    for (const std::string& line : liveAndDie(directory(), generation(), random() % 6)) {
        told.insert(line);
        if (beginsWith(line, "ok fetch") || beginsWith(line, "ok send")) {
            countOperation();
        }
    }
    compareFetched(told);
    compareSent(told);
}

std::string TransferCrash::newContent(std::size_t size) {
    std::string content;
    while (content.size() < size) {
        const auto number = static_cast<std::uint32_t>(random());
        content.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    return content;
}

// Often of the same length, so that only what stands beside the part can tell the two apart.
void TransferCrash::serveOther() {
    const bool sameLength = !m_served.empty() && random() % 2 == 0;
    m_served = newContent(sameLength ? m_served.size() : 100'000 + random() % 1'900'000);
    m_servedId = dataOf(m_platform.ask("PUT", "/file/upload", m_served))["fileUrl"].GetString();
}

void TransferCrash::offerOther() {
    m_source = newContent(random() % 500'000);
    m_uuid = generation();
    std::ofstream(path("source"), std::ios::binary) << m_source;
    m_missing.clear();
    for (std::size_t left = 0; left < m_source.size(); left += kSlice) {
        const std::size_t right = std::min(left + kSlice, m_source.size());
        m_missing.insert(std::to_string(left) + " " + std::to_string(right));
    }
}

// The platform sends so slowly that most lives end in the middle.
void TransferCrash::giveOrders() {
    std::ofstream orders(path("orders"));
    orders << m_platform.url("/file/download/@rate=") << 5'000'000 + random() % 50'000'000
           << "?fileUrl=" << m_servedId << "\n"
           << m_platform.url("/file/chunk/upload") << "\n"
           << m_uuid << "\n";
    for (const std::string& slice : m_missing) {
        orders << slice << "\n";
    }
}

void TransferCrash::compareFetched(const Told& told) {
    const std::string part = contentOf(path("part"));
    const std::string whole = contentOf(path("whole"));
    if (part != m_part && !beginsWith(m_served, part)) {
        lose("the part is of no version of the file");
    }
    if (whole != m_served && (told.count("ok fetch") == 1 || whole != m_whole)) {
        lose("the whole is not the file");
    }
    const bool couldGoOn = !m_part.empty() && m_part != m_served && beginsWith(m_served, m_part);
    const bool beganAnew = part.size() < m_part.size() && told.count("ok come") == 0;
    if (couldGoOn && (beganAnew || told.count("ok refuse") == 1)) {
        lose("a part of the very same file isn't gone on with");
    }
    m_part = part;
    m_whole = whole;
}

void TransferCrash::compareSent(const Told& told) {
    const rapidjson::Document data =
        dataOf(m_platform.ask("POST", "/file/chunk/query", "fileUUID=" + m_uuid));
    for (const auto& slice : data["chunkInfoList"].GetArray()) {
        const std::size_t left = slice["chunkOffserL"].GetUint();
        const std::size_t right = slice["chunkOffserR"].GetUint();
        if (slice["digest"].GetString() == MD5::md5(m_source.substr(left, right - left))) {
            m_missing.erase(std::to_string(left) + " " + std::to_string(right));
        } else {
            lose("a slice isn't that of the source");
        }
    }
    for (const std::string& slice : m_missing) {
        if (told.count("ok send " + slice) == 1) {
            lose("the slice " + slice + " was acknowledged, and isn't there");
        }
    }
    if (m_missing.empty()) {
        mergeSent();
        offerOther();
    }
}

void TransferCrash::mergeSent() {
    const std::string size = std::to_string(m_source.size());
    const DevServer::Reply merged =
        m_platform.ask("POST", "/file/chunk/merge", "fileUUID=" + m_uuid + "&fileSize=" + size);
    if (merged.body.find(R"("code":"0")") == std::string::npos) {
        lose("all slices are there, but make no file: " + merged.body);
        return;
    }
    const std::string id = dataOf(merged)["fileUrl"].GetString();
    if (m_platform.ask("GET", "/file/download?fileUrl=" + id).body != m_source) {
        lose("what was sent is not the source");
    }
}

}  // namespace vlox_test
