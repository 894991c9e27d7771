#include "Addresses.h"

#include "Json.h"

namespace devserver {
namespace {

using Allocator = rapidjson::Document::AllocatorType;

rapidjson::Document server(const std::string& host, Ports ports, Allocator& allocator) {
    rapidjson::Document entry(rapidjson::kObjectType, &allocator);
    addText(entry, "serverAddr", host);
    addNumber(entry, "port", ports.plain);
    addNumber(entry, "httpsPort", ports.tls);
    return entry;
}

}  // namespace

std::string addressList(const std::string& host, Ports ports, const Misbehaviour& rule) {
    rapidjson::Document kinds(rapidjson::kArrayType);
    Allocator& allocator = kinds.GetAllocator();
    const auto addKind = [&](const std::string& type, const std::string& firstHost) {
        rapidjson::Document kind(rapidjson::kObjectType, &allocator);
        addText(kind, "type", type);
        if (type != rule.broken) {
            rapidjson::Value list(rapidjson::kArrayType);
            for (int i = 0; i < rule.servers.value_or(1); ++i) {
                const std::string name = i == 0 ? firstHost : "standby" + std::to_string(i) + ".invalid";
                list.PushBack(server(name, ports, allocator), allocator);
            }
            kind.AddMember("serverList", list, allocator);
        }
        kinds.PushBack(kind, allocator);
    };
    if (rule.unknown) {
        addKind("UNHEARD", "unheard.invalid");
    }
    for (const char* type : {"PCS", "FS", "CDS", "TOPIC", "BLS", "FPS", "VOIP"}) {
        addKind(type, host);
    }
    return toText(kinds);
}

}  // namespace devserver
