#ifndef DEVSERVER_OPTIONS_H
#define DEVSERVER_OPTIONS_H

#include <stdexcept>
#include <string>

#include "Misbehaviour.h"

namespace devserver {

/// What a client finds at the server's first address, where the server has two.
enum class Primary { Answers, Refuses, Silent };

/// What the command line asks for.
struct Options {
    bool help = false;
    std::string host = "127.0.0.1";
    std::string alsoHost;                ///< a second address, on the same port; empty: none
    Primary primary = Primary::Answers;  ///< otherwise only the second address answers
    unsigned short port = 0;             ///< 0: any free one
    bool envelope = true;                ///< service requests have to carry the header "VLOX-Ext"
    bool stopOnEof = false;   ///< end when standard input ends, that is, with the process that holds it
    bool finalStats = false;  ///< the last output line holds the counts
    int threads = 32;
    std::string keys;                         ///< directory of the server's keys; empty: new ones
    bool tls = false;                         ///< serve TLS too, with the certificates in keys
    std::string identity = "vlox-devserver";  ///< the server's name for SM9
    std::string files;                        ///< directory of the files; empty: a temporary one
    std::string otherZone;                    ///< file with the first line of a second server; empty: none
    Misbehaviour misbehaviour;
    unsigned every = 1;  ///< the misbehaviour strikes each so-many-th service request
};

/// A command line that can't be followed; the text is one line.
class OptionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws OptionError.
Options parseOptions(int argc, char** argv);

std::string helpText();

}  // namespace devserver

#endif
