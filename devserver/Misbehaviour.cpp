#include "Misbehaviour.h"

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/StringTokenizer.h>
#include <Poco/URI.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <variant>

namespace devserver {
namespace {

using std::chrono::milliseconds;

// How a value is read follows from the type of its field.
using Field =
    std::variant<bool Misbehaviour::*, milliseconds Misbehaviour::*, std::string Misbehaviour::*,
                 std::optional<std::string> Misbehaviour::*, std::optional<int> Misbehaviour::*,
                 std::optional<std::uint64_t> Misbehaviour::*, std::optional<Wrapping> Misbehaviour::*>;

// All that is known about a misbehaviour but what it does.
struct Name {
    const char* name;
    const char* argument;
    const char* help;
    Field field;
    long long lowest = 0;  // of a number
    long long highest = 1;
};

constexpr std::size_t kHelpColumn = 16;
constexpr long long kMostBytes = 1LL << 50;

const Name names[] = {
    {"delay", "MS", "wait so many milliseconds before the reply", &Misbehaviour::delay, 0, 3'600'000},
    {"code", "N", "the wire code N instead of success", &Misbehaviour::code, -999'999, 999'999},
    {"data", "TEXT", "this result text, encoded as any other", &Misbehaviour::data},
    {"status", "N", "the HTTP status N", &Misbehaviour::status, 200, 599},
    {"redirect", "TEXT", "a Redirect header", &Misbehaviour::redirect},
    {"location", "URL", "a Location header", &Misbehaviour::location},
    {"reply", "TEXT", "this body instead of any other", &Misbehaviour::reply},
    {"garbage", "1", "a body of bytes that mean nothing", &Misbehaviour::garbage},
    {"cut", "N", "end the connection after N bytes of the body", &Misbehaviour::cut, 0, kMostBytes},
    {"zone", "KEY", "none, sm2 or sm9: on to the --other-zone, if one is given", &Misbehaviour::zone},
    {"servers", "N", "N servers of each kind in an address reply", &Misbehaviour::servers, 0, 1000},
    {"unknown", "1", "an address reply that begins with an unknown kind", &Misbehaviour::unknown},
    {"broken", "KIND", "an address reply with no list of servers for this kind", &Misbehaviour::broken},
    {"rate", "N", "a file moves at N bytes a second", &Misbehaviour::rate, 1, 2'000'000'000},
    {"norange", "1", "a download is the whole file, whatever was asked for", &Misbehaviour::norange},
    {"flip", "N", "the byte at N of a download is another than in the file", &Misbehaviour::flip, 0,
     kMostBytes},
    {"zeros", "N", "a download of N zero bytes, which stand in no file", &Misbehaviour::zeros, 0, kMostBytes},
    {"hangup", "N", "end the connection after N bytes of an upload", &Misbehaviour::hangup, 0, kMostBytes},
    {"discard", "1", "an upload is taken in and thrown away", &Misbehaviour::discard},
};

long long number(const Name& name, const std::string& value) {
    Poco::Int64 result = 0;
    if (!Poco::NumberParser::tryParse64(value, result) || result < name.lowest || result > name.highest) {
        throw RuleError(std::string("misbehaviour '") + name.name + "' needs a number from " +
                        std::to_string(name.lowest) + " to " + std::to_string(name.highest));
    }
    return result;
}

void read(const Name& name, const std::string& value, bool& field) { field = number(name, value) != 0; }

void read(const Name& name, const std::string& value, milliseconds& field) {
    field = milliseconds(number(name, value));
}

void read(const Name&, const std::string& value, std::string& field) { field = value; }

void read(const Name&, const std::string& value, std::optional<std::string>& field) { field = value; }

void read(const Name& name, const std::string& value, std::optional<int>& field) {
    field = static_cast<int>(number(name, value));
}

void read(const Name& name, const std::string& value, std::optional<std::uint64_t>& field) {
    field = static_cast<std::uint64_t>(number(name, value));
}

void read(const Name&, const std::string& value, std::optional<Wrapping>& field) {
    static const std::map<std::string, Wrapping> wrappings = {
        {"none", Wrapping::None}, {"sm2", Wrapping::Sm2}, {"sm9", Wrapping::Sm9}};
    const auto found = wrappings.find(value);
    if (found == wrappings.end()) {
        throw RuleError("misbehaviour 'zone' needs none, sm2 or sm9");
    }
    field = found->second;
}

void take(Misbehaviour& rule, const std::string& name, const std::string& value) {
    for (const Name& known : names) {
        if (name == known.name) {
            std::visit([&](auto field) { read(known, value, rule.*field); }, known.field);
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
    const Misbehaviour good;
    return std::any_of(std::begin(names), std::end(names), [&](const Name& known) {
        return std::visit([&](auto field) { return this->*field != good.*field; }, known.field);
    });
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
        std::string call = std::string(known.name) + '=' + known.argument;
        call.resize(kHelpColumn, ' ');
        text.append(call).append(known.help).append("\n");
    }
    return text;
}

}  // namespace devserver
