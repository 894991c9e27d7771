#include "Options.h"

#include <Poco/Exception.h>
#include <Poco/Util/HelpFormatter.h>
#include <Poco/Util/IntValidator.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionProcessor.h>
#include <Poco/Util/OptionSet.h>
#include <Poco/Util/RegExpValidator.h>

#include <sstream>

namespace devserver {
namespace {

using Poco::Util::IntValidator;
using Poco::Util::Option;
using Poco::Util::RegExpValidator;

Poco::Util::OptionSet optionSet() {
    Poco::Util::OptionSet set;
    set.addOption(Option("help", "h", "show this text"));
    set.addOption(Option("host", "", "address to listen on (127.0.0.1)").argument("address"));
    set.addOption(
        Option("also-host", "", "a second address to listen on, on the same port").argument("address"));
    set.addOption(Option("primary", "",
                         "what the first of two addresses does: answer, refuse connections, or stay silent "
                         "(answer)")
                      .argument("how")
                      .validator(new RegExpValidator("answer|refuse|silent")));
    set.addOption(Option("port", "p", "port to listen on (0: any free one)")
                      .argument("number")
                      .validator(new IntValidator(0, 65535)));
    set.addOption(Option("envelope", "", "1: a service request must carry the header VLOX-Ext; 0: it may (1)")
                      .argument("mode")
                      .validator(new IntValidator(0, 1)));
    set.addOption(
        Option("keys", "", "where the server's keys are kept (new ones for each run)").argument("directory"));
    set.addOption(Option("tls", "",
                         "listen for TLS too, with good and bad certificates on a free port each; they are "
                         "kept in the folder tls of --keys"));
    set.addOption(Option("identity", "", "the server's name for SM9 (vlox-devserver)").argument("name"));
    set.addOption(Option("files", "", "where uploaded files are kept (a temporary directory for each run)")
                      .argument("directory"));
    set.addOption(Option("other-zone", "",
                         "a file with the first output line of another vlox-devserver, see zone below")
                      .argument("file"));
    set.addOption(Option("threads", "", "requests worked on at one time (32)")
                      .argument("number")
                      .validator(new IntValidator(1, 1000)));
    set.addOption(Option("misbehave", "", "how service requests are treated, see below").argument("rule"));
    set.addOption(Option("every", "", "only each so-many-th service request meets the rule (1)")
                      .argument("number")
                      .validator(new IntValidator(1, 1000000)));
    set.addOption(Option("final-stats", "", "print the counts as the last line"));
    set.addOption(Option("stop-on-eof", "", "end when standard input ends"));
    return set;
}

void take(Options& options, const std::string& name, const std::string& value) {
    if (name == "help") {
        options.help = true;
    } else if (name == "host") {
        options.host = value;
    } else if (name == "also-host") {
        options.alsoHost = value;
    } else if (name == "primary") {
        options.primary = value == "refuse"   ? Primary::Refuses
                          : value == "silent" ? Primary::Silent
                                              : Primary::Answers;
    } else if (name == "other-zone") {
        options.otherZone = value;
    } else if (name == "files") {
        options.files = value;
    } else if (name == "port") {
        options.port = static_cast<unsigned short>(std::stoi(value));
    } else if (name == "envelope") {
        options.envelope = value != "0";
    } else if (name == "keys") {
        options.keys = value;
    } else if (name == "tls") {
        options.tls = true;
    } else if (name == "identity") {
        options.identity = value;
    } else if (name == "threads") {
        options.threads = std::stoi(value);
    } else if (name == "misbehave") {
        options.misbehaviour = parseRule(value);
    } else if (name == "every") {
        options.every = static_cast<unsigned>(std::stoi(value));
    } else if (name == "final-stats") {
        options.finalStats = true;
    } else if (name == "stop-on-eof") {
        options.stopOnEof = true;
    }
}

void checkTogether(const Options& options) {
    if (options.primary != Primary::Answers && options.alsoHost.empty()) {
        throw OptionError("--primary needs a second address, --also-host");
    }
    if (options.tls && options.keys.empty()) {
        throw OptionError("--tls needs a directory for the certificates, --keys");
    }
    if (options.misbehaviour.zone && options.otherZone.empty()) {
        throw OptionError("misbehaviour 'zone' needs --other-zone");
    }
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    const Poco::Util::OptionSet set = optionSet();
    Poco::Util::OptionProcessor processor(set);
    processor.setUnixStyle(true);
    Options options;
    try {
        for (int i = 1; i < argc; ++i) {
            std::string name;
            std::string value;
            if (!processor.process(argv[i], name, value)) {
                throw OptionError(std::string("unexpected argument: ") + argv[i]);
            }
            if (name.empty()) {
                continue;  // its value is the next argument
            }
            const Option& option = set.getOption(name, false);
            if (option.validator()) {
                option.validator()->validate(option, value);
            }
            take(options, name, value);
        }
        processor.checkRequired();
    } catch (const Poco::Exception& error) {
        throw OptionError(error.displayText());
    } catch (const RuleError& error) {
        throw OptionError(error.what());
    }
    checkTogether(options);
    return options;
}

std::string helpText() {
    const Poco::Util::OptionSet set = optionSet();
    Poco::Util::HelpFormatter formatter(set);
    formatter.setUnixStyle(true);
    formatter.setCommand("vlox-devserver");
    formatter.setUsage("[options]");
    formatter.setHeader(
        "A stand-in for the messaging platform, for trying and testing the client library on one machine. "
        "The first line of its output is a JSON object with its port, its process id and its public keys.");
    formatter.setFooter(
        "Services, each with or without /vlox/ before it and, but for those of files, with any further path "
        "behind it:\n"
        "echo                  a service request; the reply's data tells what arrived\n"
        "server/address/query  a service request; its data tells where services are\n"
        "file/upload           a file, by POST as a part of a form or by PUT; its data tells the id, "
        "fileUrl\n"
        "file/download         the file of a fileUrl, or the range of it that the header Range asks for\n"
        "file/chunk/...        upload, query, merge, delete: a file in chunks, under a fileUUID\n"
        "mirror                any request; a plain JSON text tells what arrived\n"
        "stats                 what has been counted so far, as plain JSON\n"
        "\n"
        "Misbehaviour: a rule is a list such as delay=200,code=15001 of\n" +
        ruleHelp() +
        "It stands in the option --misbehave; or in a path, as a segment of its own behind an @ "
        "(/echo/@status=503), with %XX for what a path can't hold; or in the parameters of a service "
        "request, "
        "as an object: {\"misbehave\":{\"delay\":200}}. The parameters' rule comes before the path's, the "
        "path's "
        "before the option's.\n");
    std::ostringstream text;
    formatter.format(text);
    return text.str();
}

}  // namespace devserver
