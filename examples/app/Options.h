#ifndef APP_OPTIONS_H
#define APP_OPTIONS_H

#include <stdexcept>
#include <string>

namespace app {

/// How requests are encrypted, as the library numbers it.
struct Crypto {
    std::string name;
    int asymmetric;  ///< how the session key is wrapped: 0 none, 2 SM2, 4 SM9
    int symmetric;   ///< how content is encrypted: 0 none, 1 AES-128, 2 SM4
};

/// How the platform is reached.
enum class Transport {
    HTTP,
    HTTPS,        ///< the platform shows a certificate
    HTTPS_MUTUAL  ///< the application shows one as well
};

struct Options {
    std::string messages;                 ///< the input: a JSON value per line
    std::string file;                     ///< instead of messages: a file that goes up and comes back
    std::string directory = "demo-data";  ///< store, log and journal
    std::string platform;                 ///< file with the platform's own first line
    std::string summary;                  ///< file for the final figures as JSON; empty: none
    Crypto crypto{"sm2-aes", 2, 1};
    Transport transport = Transport::HTTP;
    int senders = 4;            ///< requests, or slices of the file, under way at one time
    int chunkSize = 0;          ///< bytes of a slice; 0: the library's own setting
    bool progressLine = false;  ///< one line that changes, for a terminal
    bool stopOnEof = false;     ///< end when standard input ends, that is, with the process that holds it
};

/// The text is one line.
class OptionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws OptionError.
Options parseOptions(int argc, char** argv);

}  // namespace app

#endif
