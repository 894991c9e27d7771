#ifndef DEVSERVER_MISBEHAVIOUR_H
#define DEVSERVER_MISBEHAVIOUR_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "Http.h"
#include "Json.h"

namespace devserver {

/// How a session key is wrapped, by its number on the wire.
enum class Wrapping { None = 0, Sm2 = 2, Sm9 = 4 };

/// What a reply does otherwise than it should; nothing set is good behaviour.
///
/// A new one needs its field here, its line in the table of names, and the place that acts on it.
struct Misbehaviour {
    std::chrono::milliseconds delay{0};
    std::optional<int> code;          ///< wire code of the reply
    std::optional<std::string> data;  ///< the reply's data, before it is encoded
    std::optional<int> status;        ///< HTTP status
    std::optional<std::string> redirect;
    std::optional<std::string> location;
    std::optional<std::string> reply;  ///< the whole body as it goes out
    bool garbage = false;
    std::optional<std::uint64_t> cut;     ///< bytes of the body that go out before the connection ends
    std::optional<Wrapping> zone;         ///< send on to the other zone, under this asymmetric algorithm
    std::optional<int> servers;           ///< how many servers an address reply has of each kind
    bool unknown = false;                 ///< an address reply begins with a kind that no client knows
    std::string broken;                   ///< the kind that has no list of servers in an address reply
    std::optional<std::uint64_t> rate;    ///< bytes of a file that move in a second
    bool norange = false;                 ///< a download is the whole file, whatever range was asked for
    std::optional<std::uint64_t> flip;    ///< the byte of a download that is another than in the file
    std::optional<std::uint64_t> zeros;   ///< a download is so many zero bytes, and no file
    std::optional<std::uint64_t> hangup;  ///< bytes of an upload that are read before the connection ends
    bool discard = false;                 ///< an upload is taken in and thrown away

    bool any() const;
    /// Changes what can be changed in a finished reply: all down from the status, but nothing of the content.
    void spoil(HttpReply& reply) const;
};

/// A rule that can't be followed; the text is one line.
class RuleError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The rule as text: names and values with commas between them, %XX in a value is decoded. Throws RuleError.
Misbehaviour parseRule(const std::string& text);
/// The rule as a JSON object with the same names. Throws RuleError.
Misbehaviour parseRule(const rapidjson::Value& object);

/// One line for each name that a rule knows.
std::string ruleHelp();

}  // namespace devserver

#endif
