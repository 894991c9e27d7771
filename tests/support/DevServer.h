#ifndef TESTS_SUPPORT_DEVSERVER_H
#define TESTS_SUPPORT_DEVSERVER_H

#include <Poco/Net/HTTPClientSession.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>
#include <Poco/URI.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <istream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vlox_test {

/// A stand-in platform of the test's own: up when the constructor returns, ended by the destructor. It holds
/// the server's standard input, so that the server ends with the test process, however that ends.
class DevServer {
public:
    explicit DevServer(std::vector<std::string> arguments = {}) : m_process(launch(std::move(arguments))) {
        Poco::PipeInputStream output(m_output);
        std::getline(output, m_firstLine);
        m_line.Parse(m_firstLine.c_str());
        if (m_line.HasParseError() || !m_line.IsObject()) {
            throw std::runtime_error("vlox-devserver didn't start: '" + m_firstLine + "'");
        }
    }
    ~DevServer() { EXPECT_EQ(0, stop()) << "the server didn't end cleanly"; }
    DevServer(const DevServer&) = delete;
    DevServer& operator=(const DevServer&) = delete;

    std::string host() const { return m_line["host"].GetString(); }
    int port() const { return m_line["port"].GetInt(); }
    int pid() const { return m_line["pid"].GetInt(); }
    /// "http://127.0.0.1:4711", and with a path, which begins with a slash, the whole address.
    std::string url(const std::string& path = "") const { return m_line["url"].GetString() + path; }
    /// The same with TLS, of a server with --tls and --keys. Each port shows another certificate: "good",
    /// "wrongHost", "expired", "notYetValid", "unknownAuthority", and "clientCertificate", which is good and
    /// wants one of the client.
    std::string httpsUrl(const std::string& tlsPort, const std::string& path = "",
                         const std::string& host = "127.0.0.1") const {
        return "https://" + host + ":" + std::to_string(tls()["ports"][tlsPort.c_str()].GetInt()) + path;
    }
    /// The certificate of the authority to trust, PEM.
    std::string authorityFile() const { return tls()["authorityFile"].GetString(); }
    /// A client's certificate and then its key, PEM.
    std::string clientFile() const { return tls()["clientFile"].GetString(); }
    std::string clientKeyPassword() const { return tls()["clientKeyPassword"].GetString(); }
    /// All that the server tells about itself.
    const rapidjson::Document& line() const { return m_line; }
    const std::string& firstLine() const { return m_firstLine; }

    struct Reply {
        int status = 0;
        std::string body;
        std::map<std::string, std::string> headers;
    };
    /// One exchange with nothing of the library in it. Throws Poco::Exception when the connection fails.
    Reply ask(const std::string& method, const std::string& path, const std::string& body = "",
              const std::map<std::string, std::string>& headers = {}) const {
        const Poco::URI address(url());
        Poco::Net::HTTPClientSession session(address.getHost(), address.getPort());
        Poco::Net::HTTPRequest request(method, path, Poco::Net::HTTPMessage::HTTP_1_1);
        for (const auto& [name, value] : headers) {
            request.set(name, value);
        }
        request.setContentLength(static_cast<std::streamsize>(body.size()));
        session.sendRequest(request) << body;
        Poco::Net::HTTPResponse response;
        Reply reply;
        Poco::StreamCopier::copyToString(session.receiveResponse(response), reply.body);
        reply.status = response.getStatus();
        reply.headers.insert(response.begin(), response.end());
        return reply;
    }
    /// What the server has counted so far.
    rapidjson::Document stats() const {
        rapidjson::Document counted;
        counted.Parse(ask("GET", "/stats").body.c_str());
        return counted;
    }
    /// A number of stats(), 0 for one that isn't there.
    long long count(const char* name) const {
        const rapidjson::Document counted = stats();
        return counted.HasMember(name) ? counted[name].GetInt64() : 0;
    }

    /// Waits until a number of stats() has come so far; a test fails where it doesn't within a minute.
    void awaitCount(const char* name, long long least) const {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (count(name) < least) {
            if (std::chrono::steady_clock::now() > giveUp) {
                ADD_FAILURE() << name << " stays below " << least;
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    /// Ends the server; its exit code, and the same again for a second call.
    int stop() {
        if (!m_stopped) {
            m_stopped = true;
            m_input.close();
            m_exitCode = m_process.wait();
        }
        return m_exitCode;
    }

private:
    const rapidjson::Value& tls() const { return m_line["tls"]; }

    Poco::ProcessHandle launch(std::vector<std::string> arguments) {
        arguments.emplace_back("--stop-on-eof");
        return Poco::Process::launch(VLOX_DEVSERVER_PATH, arguments, &m_input, &m_output, nullptr);
    }

    Poco::Pipe m_input;
    Poco::Pipe m_output;
    Poco::ProcessHandle m_process;  // stays below the pipes, which its launch fills
    std::string m_firstLine;
    rapidjson::Document m_line;
    bool m_stopped = false;
    int m_exitCode = -1;
};

/// What became of a process.
struct Outcome {
    int exitCode = 0;
    std::string output;
    std::string errors;
};

/// A server whose input has ended before it begins, and so it ends at once if --stop-on-eof stands there.
inline Outcome runDevServer(const std::vector<std::string>& arguments) {
    const auto readAll = [](Poco::Pipe& pipe) {
        std::string text;
        Poco::PipeInputStream stream(pipe);
        Poco::StreamCopier::copyToString(stream, text);
        return text;
    };
    Poco::Pipe output;
    Poco::Pipe errors;
    Poco::Pipe input;
    const Poco::ProcessHandle process =
        Poco::Process::launch(VLOX_DEVSERVER_PATH, arguments, &input, &output, &errors);
    input.close();
    Outcome result{0, readAll(output), readAll(errors)};
    result.exitCode = process.wait();
    return result;
}

}  // namespace vlox_test

#endif
