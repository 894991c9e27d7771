#include "Misbehaviour.h"

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/StringTokenizer.h>
#include <Poco/URI.h>

#include <utility>

namespace devserver {
namespace {

template <typename Number>
Number number(const std::string& name, const std::string& value, Number lowest, Number highest) {
    Poco::Int64 result = 0;
    if (!Poco::NumberParser::tryParse64(value, result) || result < lowest || result > highest) {
        throw RuleError("misbehaviour '" + name + "' needs a number from " + std::to_string(lowest) + " to " +
                        std::to_string(highest));
    }
    return static_cast<Number>(result);
}

std::uint64_t bytes(const std::string& name, const std::string& value) {
    return static_cast<std::uint64_t>(number(name, value, Poco::Int64{0}, Poco::Int64{1} << 50));
}

int wrapping(const std::string& value) {
    static const std::pair<const char*, int> algorithms[] = {{"none", 0}, {"sm2", 2}, {"sm9", 4}};
    for (const auto& [name, algorithm] : algorithms) {
        if (value == name) {
            return algorithm;
        }
    }
    throw RuleError("misbehaviour 'zone' needs none, sm2 or sm9");
}

struct Name {
    const char* name;
    const char* help;
    void (*take)(Misbehaviour& rule, const std::string& value);
};

const Name names[] = {
    {"delay", "delay=MS        wait so many milliseconds before the reply",
     [](Misbehaviour& rule, const std::string& value) {
         rule.delay = std::chrono::milliseconds(number("delay", value, 0, 3'600'000));
     }},
    {"code", "code=N          the wire code N instead of success",
     [](Misbehaviour& rule, const std::string& value) {
         rule.code = number("code", value, -999'999, 999'999);
     }},
    {"data", "data=TEXT       this result text, encoded as any other",
     [](Misbehaviour& rule, const std::string& value) { rule.data = value; }},
    {"status", "status=N        the HTTP status N",
     [](Misbehaviour& rule, const std::string& value) { rule.status = number("status", value, 200, 599); }},
    {"redirect", "redirect=TEXT   a Redirect header",
     [](Misbehaviour& rule, const std::string& value) { rule.redirect = value; }},
    {"location", "location=URL    a Location header",
     [](Misbehaviour& rule, const std::string& value) { rule.location = value; }},
    {"reply", "reply=TEXT      this body instead of any other",
     [](Misbehaviour& rule, const std::string& value) { rule.reply = value; }},
    {"garbage", "garbage=1       a body of bytes that mean nothing",
     [](Misbehaviour& rule, const std::string& value) {
         rule.garbage = number("garbage", value, 0, 1) != 0;
     }},
    {"cut", "cut=N           end the connection after N bytes of the body",
     [](Misbehaviour& rule, const std::string& value) { rule.cut = bytes("cut", value); }},
    {"zone", "zone=KEY        none, sm2 or sm9: on to the --other-zone, if one is given",
     [](Misbehaviour& rule, const std::string& value) { rule.zone = wrapping(value); }},
    {"servers", "servers=N       N servers of each kind in an address reply",
     [](Misbehaviour& rule, const std::string& value) { rule.servers = number("servers", value, 0, 1000); }},
    {"unknown", "unknown=1       an address reply that begins with an unknown kind",
     [](Misbehaviour& rule, const std::string& value) {
         rule.unknown = number("unknown", value, 0, 1) != 0;
     }},
    {"broken", "broken=KIND     an address reply with no list of servers for this kind",
     [](Misbehaviour& rule, const std::string& value) { rule.broken = value; }},
    {"rate", "rate=N          a file moves at N bytes a second",
     [](Misbehaviour& rule, const std::string& value) {
         rule.rate = static_cast<std::uint64_t>(number("rate", value, 1, 2'000'000'000));
     }},
    {"norange", "norange=1       a download is the whole file, whatever was asked for",
     [](Misbehaviour& rule, const std::string& value) {
         rule.norange = number("norange", value, 0, 1) != 0;
     }},
    {"flip", "flip=N          the byte at N of a download is another than in the file",
     [](Misbehaviour& rule, const std::string& value) { rule.flip = bytes("flip", value); }},
    {"zeros", "zeros=N         a download of N zero bytes, which stand in no file",
     [](Misbehaviour& rule, const std::string& value) { rule.zeros = bytes("zeros", value); }},
    {"hangup", "hangup=N        end the connection after N bytes of an upload",
     [](Misbehaviour& rule, const std::string& value) { rule.hangup = bytes("hangup", value); }},
    {"discard", "discard=1       an upload is taken in and thrown away",
     [](Misbehaviour& rule, const std::string& value) {
         rule.discard = number("discard", value, 0, 1) != 0;
     }},
};

void take(Misbehaviour& rule, const std::string& name, const std::string& value) {
    for (const Name& known : names) {
        if (name == known.name) {
            known.take(rule, value);
            return;
        }
    }
    throw RuleError("no misbehaviour is called '" + name + "'");
}

// Every byte value, the NUL too, and no text in any encoding.
std::string garbageBytes() {
    std::string bytes;
    for (int i = 0; i < 1024; ++i) {
        bytes.push_back(static_cast<char>(255 - i * 7 % 256));
    }
    return bytes;
}

}  // namespace

bool Misbehaviour::any() const {
    return delay.count() > 0 || code || data || status || redirect || location || reply || garbage || cut ||
           zone || servers || unknown || !broken.empty() || rate || norange || flip || zeros || hangup ||
           discard;
}

void Misbehaviour::spoil(HttpReply& answer) const {
    if (status) {
        answer.status = *status;
    }
    if (redirect) {
        answer.headers.emplace_back("Redirect", *redirect);
    }
    if (location) {
        answer.headers.emplace_back("Location", *location);
    }
    if (reply) {
        answer.stream.reset();
        answer.body = *reply;
    }
    if (garbage) {
        answer.stream.reset();
        answer.body = garbageBytes();
    }
    if (cut) {
        answer.cutAfter = *cut;
    }
}

Misbehaviour parseRule(const std::string& text) {
    Misbehaviour rule;
    for (const std::string& item :
         Poco::StringTokenizer(text, ",", Poco::StringTokenizer::TOK_IGNORE_EMPTY)) {
        const std::size_t equals = item.find('=');
        if (equals == std::string::npos) {
            throw RuleError("misbehaviour '" + item + "' has no value");
        }
        std::string value;
        try {
            Poco::URI::decode(item.substr(equals + 1), value);
        } catch (const Poco::Exception&) {
            throw RuleError("misbehaviour '" + item + "' has a bad %");
        }
        take(rule, item.substr(0, equals), value);
    }
    return rule;
}

Misbehaviour parseRule(const rapidjson::Value& object) {
    if (!object.IsObject()) {
        throw RuleError("misbehave is no object");
    }
    Misbehaviour rule;
    for (const auto& member : object.GetObject()) {
        const rapidjson::Value& value = member.value;
        take(rule, member.name.GetString(),
             value.IsString() ? std::string(value.GetString(), value.GetStringLength())
             : value.IsBool() ? std::string(value.GetBool() ? "1" : "0")
                              : toText(value));
    }
    return rule;
}

std::string ruleHelp() {
    std::string text;
    for (const Name& known : names) {
        text.append(known.help).append("\n");
    }
    return text;
}

}  // namespace devserver
