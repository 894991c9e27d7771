#include "vloxlib/dnscache/HttpDnsPack.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <ctime>

#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IP.h"
#include "vloxlib/dnscache/IpModel.h"

namespace vloxlib {

namespace {

constexpr int64 kLongestTimeToLive = 60;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText(Writer& writer, const char* key, const std::string& value) {
    writer.Key(key);
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void writeAddress(Writer& writer, const IP& address) {
    writer.StartObject();
    writeText(writer, "ip", address.ip);
    writer.Key("ttl");
    writer.Int64(address.ttl);
    writer.Key("priority");
    writer.Int(address.priority);
    writer.EndObject();
}

}  // namespace

std::string HttpDnsPack::toJson() const {
    rapidjson::StringBuffer text;
    Writer writer(text);
    writer.StartObject();
    writeText(writer, "domain", domain);
    writeText(writer, "device_ip", device_ip);
    writeText(writer, "device_sp", device_sp);
    writer.Key("dns");
    writer.StartArray();
    for (const auto& address : dns) {
        if (!address->ip.empty()) {
            writeAddress(writer, *address);
        }
    }
    writer.EndArray();
    writeText(writer, "localhostSp", localhostSp);
    writeText(writer, "rawResult", rawResult);
    writer.EndObject();
    return {text.GetString(), text.GetSize()};
}

std::shared_ptr<DomainModel> HttpDnsPack::toDomainModel() const {
    auto model = std::make_shared<DomainModel>();
    model->domain = domain;
    model->sp = localhostSp;
    model->finallyTime = std::time(nullptr);
    model->expireTime = kLongestTimeToLive;
    for (const auto& address : dns) {
        auto ipModel = std::make_shared<IpModel>();
        ipModel->domain = model->domain;
        ipModel->ip = address->ip;
        ipModel->expireTime = address->ttl;
        ipModel->priority = address->priority;
        ipModel->sp = model->sp;
        model->ipModels.push_back(ipModel);
        if (ipModel->expireTime < model->expireTime) {
            // The shortest time is a 32-bit number; of a time below its range only the low half is left.
            model->expireTime = static_cast<std::int32_t>(ipModel->expireTime);
        }
    }
    return model;
}

}  // namespace vloxlib
