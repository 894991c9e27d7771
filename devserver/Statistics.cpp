#include "Statistics.h"

#include "Json.h"

namespace devserver {
namespace {

// Paths come from outside; counting each of them for ever would fill the memory of a long run.
constexpr std::size_t kMostPaths = 1000;

}  // namespace

void Statistics::countRequest(const std::string& path) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_requests;
    const bool room = m_paths.size() < kMostPaths || m_paths.count(path) != 0;
    ++m_paths[room ? path : "(others)"];
}

void Statistics::countServiceRequest(bool encrypted) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++(encrypted ? m_encrypted : m_plain);
}

void Statistics::countReply(int wireCode) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_codes[wireCode];
}

void Statistics::countMisbehaviour() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_misbehaved;
}

std::string Statistics::toJson(long long unwrappedKeys) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    rapidjson::Document document(rapidjson::kObjectType);
    addNumber(document, "requests", m_requests);
    addNumber(document, "plainRequests", m_plain);
    addNumber(document, "encryptedRequests", m_encrypted);
    addNumber(document, "unwrappedKeys", unwrappedKeys);
    addNumber(document, "misbehaved", m_misbehaved);
    auto& allocator = document.GetAllocator();
    rapidjson::Document paths(rapidjson::kObjectType, &allocator);
    for (const auto& [path, count] : m_paths) {
        addNumber(paths, path.c_str(), count);
    }
    document.AddMember("paths", paths, allocator);
    rapidjson::Document codes(rapidjson::kObjectType, &allocator);
    for (const auto& [code, count] : m_codes) {
        addNumber(codes, std::to_string(code).c_str(), count);
    }
    document.AddMember("codes", codes, allocator);
    return toText(document);
}

}  // namespace devserver
