#include "OtherZone.h"

#include <fstream>
#include <stdexcept>

#include "Json.h"

namespace devserver {

OtherZone::OtherZone(const std::string& file) {
    std::ifstream source(file);
    std::string text;
    std::getline(source, text);
    m_line.Parse(text.c_str());
    for (const char* name : {"url", "sm2PublicKey", "sm9Identity", "sm9Parameters"}) {
        if (m_line.HasParseError() || !m_line.IsObject() || !m_line.HasMember(name) ||
            !m_line[name].IsString()) {
            throw std::runtime_error(file + " doesn't begin with what a server prints first");
        }
    }
}

std::string OtherZone::invitation(int algorithm, bool overTls) const {
    const bool sm9 = algorithm == 4;
    rapidjson::Document zone(rapidjson::kObjectType);
    addText(zone, "otherZonePublicKey", m_line[sm9 ? "sm9Identity" : "sm2PublicKey"].GetString());
    addText(zone, "otherZoneIbcPubParam", sm9 ? m_line["sm9Parameters"].GetString() : "");
    addNumber(zone, "otherZoneAsymmetricCryptoType", algorithm);
    addText(zone, "otherZoneHttpPublicAddress", m_line["url"].GetString());
    if (overTls && m_line.HasMember("httpsUrl") && m_line["httpsUrl"].IsString()) {
        addText(zone, "otherZoneHttpsPublicAddress", m_line["httpsUrl"].GetString());
    }
    return toText(zone);
}

}  // namespace devserver
