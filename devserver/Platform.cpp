#include "Platform.h"

#include <Poco/Exception.h>
#include <Poco/StringTokenizer.h>
#include <Poco/URI.h>

#include <utility>

#include "Addresses.h"

namespace devserver {

struct Platform::Target {
    std::string path;  ///< decoded, without the prefix "/vlox/" and without a rule
    Misbehaviour rule;
};

namespace {

HttpReply textReply(int status, const std::string& text) {
    HttpReply reply;
    reply.status = status;
    reply.contentType = "text/plain; charset=utf-8";
    reply.body = text + "\n";
    return reply;
}

std::string describe(const HttpRequest& request, const std::string& path, const ServiceRequest& service) {
    rapidjson::Document document(rapidjson::kObjectType);
    addText(document, "method", request.method);
    addText(document, "path", path);
    addText(document, "appId", service.appId);
    addObject(document, "header", service.header);
    addObject(document, "params", service.params);
    return toText(document);
}

}  // namespace

Platform::Platform(const ServerKeys& keys, bool headerRequired, Misbehaviour rule, unsigned every,
                   std::optional<OtherZone> other, const std::string& files)
    : m_sessions(keys),
      m_format(headerRequired, m_sessions),
      m_rule(std::move(rule)),
      m_every(every),
      m_otherZone(std::move(other)),
      m_files(files, m_stop) {}

Platform::Target Platform::readPath(const std::string& path) {
    const Poco::StringTokenizer segments(path, "/", Poco::StringTokenizer::TOK_IGNORE_EMPTY);
    Target target;
    for (auto segment = segments.begin(); segment != segments.end(); ++segment) {
        if (segment == segments.begin() && *segment == "vlox") {
            continue;
        }
        if (segment->front() == '@') {
            target.rule = parseRule(segment->substr(1));
            continue;
        }
        std::string decoded;
        Poco::URI::decode(*segment, decoded);
        target.path += (target.path.empty() ? "" : "/") + decoded;
    }
    return target;
}

Platform::Service Platform::findService(const std::string& path) {
    static const std::pair<const char*, Service> services[] = {
        {"echo", &Platform::echo},
        {"mirror", &Platform::mirror},
        {"server/address/query", &Platform::addresses},
        {"stats", &Platform::stats},
    };
    if (FileServices::knows(path)) {
        return &Platform::files;
    }
    for (const auto& [known, service] : services) {
        if ((path + "/").rfind(known + std::string("/"), 0) == 0) {
            return service;
        }
    }
    return nullptr;
}

bool Platform::takesStream(const HttpRequest& request) {
    try {
        return FileServices::knows(readPath(request.path).path);
    } catch (const std::exception&) {
        return false;  // answer() tells what is wrong with the path
    }
}

HttpReply Platform::answer(const HttpRequest& request) {
    Target target;
    try {
        target = readPath(request.path);
    } catch (const RuleError& error) {
        return textReply(400, error.what());
    } catch (const Poco::Exception& error) {
        return textReply(400, error.displayText());
    }
    const Service service = findService(target.path);
    m_statistics.countRequest(service != nullptr ? target.path : "(unknown)");
    if (service == nullptr) {
        return textReply(404, "no such service; --help names all");
    }
    return (this->*service)(request, target);
}

HttpReply Platform::echo(const HttpRequest& request, const Target& target) {
    return serve(
        request, target.rule, [&] { return m_format.decode(request); },
        [&](const ServiceRequest& service, const Misbehaviour&, HttpReply&) {
            return describe(request, target.path, service);
        });
}

HttpReply Platform::addresses(const HttpRequest& request, const Target& target) {
    return serve(
        request, target.rule, [&] { return m_format.decode(request); },
        [&](const ServiceRequest& service, const Misbehaviour& rule, HttpReply&) {
            if (!service.params.HasMember("domainName") || !service.params["domainName"].IsString()) {
                throw WireError(kWireBadRequest, "an address query has a text domainName");
            }
            return addressList(request.serverHost, request.serverPorts, rule);
        });
}

HttpReply Platform::files(const HttpRequest& request, const Target& target) {
    std::optional<FileRequest> arrived;
    return serve(
        request, target.rule,
        [&] {
            arrived.emplace(request);
            return decodeFields(request, *arrived);
        },
        [&](const ServiceRequest& service, const Misbehaviour& rule, HttpReply& answer) {
            return m_files.answer(target.path, request, service.params, *arrived, rule, answer);
        });
}

// A service of files may also be asked by hand, with the parameters as plain fields and without a header.
ServiceRequest Platform::decodeFields(const HttpRequest& request, const FileRequest& arrived) const {
    if (arrived.fields().count("params") != 0) {
        return m_format.decode(request, arrived.fields());
    }
    ServiceRequest plain;
    plain.cipher = plainCipher();
    plain.params.SetObject();
    for (const auto& [name, value] : arrived.fields()) {
        addText(plain.params, name.c_str(), value);
    }
    return plain;
}

HttpReply Platform::serve(const HttpRequest& request, const Misbehaviour& ruleOfPath, const Decode& decode,
                          const Content& content) {
    const Misbehaviour ruleOfAll = ruleOfOption();
    Misbehaviour rule = ruleOfPath.any() ? ruleOfPath : ruleOfAll;
    HttpReply answer;
    ServiceReply reply;
    std::shared_ptr<const SessionCipher> cipher;
    try {
        const ServiceRequest service = decode();
        cipher = service.cipher;
        m_statistics.countServiceRequest(cipher->encrypted());
        if (service.params.HasMember("misbehave")) {
            rule = parseRule(service.params["misbehave"]);
        }
        // A rule in the path or in the parameters goes on to the other zone with the request, and ends there.
        if (!m_otherZone) {
            rule.zone.reset();
        }
        reply = rule.zone ? sendElsewhere(static_cast<int>(*rule.zone), request.overTls)
                          : replyTo(service, rule, content, answer);
    } catch (const WireError& error) {
        reply = {error.code(), error.what(), ""};
    } catch (const RuleError& error) {
        reply = {kWireBadRequest, error.what(), ""};
    } catch (const HangUp&) {
        answer.hangUp = true;
    }
    if (rule.any()) {
        m_statistics.countMisbehaviour();
    }
    m_stop.wait(rule.delay);
    if (!answer.hangUp) {
        m_statistics.countReply(reply.code);
    }
    if (!answer.stream) {
        answer.body = WireFormat::encode(reply, "dev-" + std::to_string(++m_bids), cipher.get());
    }
    rule.spoil(answer);
    return answer;
}

ServiceReply Platform::sendElsewhere(int algorithm, bool overTls) const {
    return {kWireOtherZone, "another zone answers this", m_otherZone->invitation(algorithm, overTls)};
}

ServiceReply Platform::replyTo(const ServiceRequest& service, const Misbehaviour& rule,
                               const Content& content, HttpReply& answer) const {
    ServiceReply reply;
    reply.code = rule.code.value_or(0);
    reply.desc = rule.code ? "as asked for" : "success";
    if (rule.data) {
        reply.data = *rule.data;
    } else if (reply.code == 0) {
        reply.data = content(service, rule, answer);
    }
    return reply;
}

HttpReply Platform::mirror(const HttpRequest& request, const Target& target) {
    rapidjson::Document document(rapidjson::kObjectType);
    addText(document, "method", request.method);
    addText(document, "path", target.path);
    addText(document, "query", request.query);
    addText(document, "body", request.body);
    rapidjson::Document headers(rapidjson::kObjectType, &document.GetAllocator());
    for (const auto& [name, value] : request.headers) {
        addText(headers, name.c_str(), value);
    }
    addObject(document, "headers", headers);
    HttpReply answer;
    answer.body = toText(document);
    if (target.rule.any()) {
        m_statistics.countMisbehaviour();
    }
    m_stop.wait(target.rule.delay);
    target.rule.spoil(answer);
    return answer;
}

HttpReply Platform::stats(const HttpRequest&, const Target&) {
    HttpReply answer;
    answer.body = statistics();
    return answer;
}

Misbehaviour Platform::ruleOfOption() { return ++m_serviceRequests % m_every == 0 ? m_rule : Misbehaviour(); }

}  // namespace devserver
