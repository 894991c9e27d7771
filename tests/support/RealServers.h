#ifndef TESTS_SUPPORT_REALSERVERS_H
#define TESTS_SUPPORT_REALSERVERS_H

#include <Poco/Net/ServerSocket.h>
#include <Poco/Path.h>
#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"

namespace vlox_test {

/// nginx and haproxy as anybody may run them, on free ports of the loopback address and with a certificate of
/// their own. They end with the test process, however that ends. nginx offers HTTP/2, serves files and takes
/// them by PUT and DELETE; some paths are special:
///   /protocol  tells which version of HTTP it was asked in
///   /small/    takes no more than a kilobyte
///   /slow/     sends 500 KB a second
///   /packed/   sends the file of that name and .gz, whatever was asked for
///   /307/p     redirects to /p with that code; 301, 302, 303 and 308 likewise
///   /origin/p  sends what the test's own server says to /p
/// haproxy offers HTTP/2 too, and has nothing but the test's own server behind it.
class RealServers {
public:
    static bool installed() { return !programOf("nginx").empty() && !programOf("haproxy").empty(); }

    explicit RealServers(int originPort) : m_origin("127.0.0.1:" + std::to_string(originPort)) {
        std::filesystem::create_directories(m_dir.path("files/slow"));
        std::filesystem::create_directories(m_dir.path("files/packed"));
        makeCertificate();
        // What is a free port now may be taken a moment later.
        for (int attempts = 1; !m_haproxy; ++attempts) {
            configure();
            try {
                startNginx();
                m_haproxy =
                    start("haproxy", {"-W", "-q", "-f", m_dir.path("haproxy.conf"), "-p", mark("haproxy")});
            } catch (const std::runtime_error&) {
                if (attempts == 5) {
                    throw;
                }
            }
        }
    }

    std::string url(const std::string& path) const { return "http://" + m_plain + path; }
    std::string httpsUrl(const std::string& path) const { return "https://" + m_tls + path; }
    std::string haproxyUrl(const std::string& path) const { return "https://" + m_proxy + path; }
    std::string certificate() const { return m_dir.read("certificate.pem"); }

    void write(const std::string& name, const std::string& content) const {
        m_dir.write("files/" + name, content);
    }
    /// Empty for a file that isn't there.
    std::string read(const std::string& name) const { return m_dir.read("files/" + name); }

    void stopNginx() { m_nginx.reset(); }
    void startNginx() { m_nginx = start("nginx", {"-p", m_dir.path(), "-c", "nginx.conf", "-e", "log"}); }

private:
    struct End {
        void operator()(Poco::ProcessHandle* process) const {
            ::kill(process->id(),
                   SIGTERM);  // SIGINT is lost where a shell had it ignored, until haproxy is ready
            process->wait();
            delete process;
        }
    };
    using Server = std::unique_ptr<Poco::ProcessHandle, End>;

    static std::string programOf(const std::string& name) {
        Poco::Path found;
        return Poco::Path::find("/usr/sbin:/usr/local/sbin", name, found) ? found.toString() : "";
    }
    std::string mark(const std::string& name) const { return m_dir.path(name + ".pid"); }

    // Up once it has left its mark, which it does when it has its ports.
    Server start(const std::string& name, std::vector<std::string> arguments) const {
        std::filesystem::remove(mark(name));
        arguments.insert(arguments.begin(), {"--pdeathsig", "TERM", programOf(name)});
        Server server(new Poco::ProcessHandle(Poco::Process::launch("/usr/bin/setpriv", arguments)));
        while (!std::filesystem::exists(mark(name))) {
            if (server->tryWait() != -1) {
                delete server.release();
                throw std::runtime_error(name + " didn't start: " + m_dir.read("log"));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return server;
    }

    void makeCertificate() const {
        const std::string both = m_dir.path("certificate.pem");  // and its key
        Poco::Pipe quiet;
        Poco::Process::launch(
            VLOX_OPENSSL,
            {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj",
             "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", both, "-out", both},
            nullptr, &quiet, &quiet)
            .wait();
    }

    void configure() {
        const Poco::Net::SocketAddress any("127.0.0.1", 0);
        const Poco::Net::ServerSocket plain(any), tls(any), proxy(any);  // all at once: no two alike
        m_plain = plain.address().toString();
        m_tls = tls.address().toString();
        m_proxy = proxy.address().toString();
        m_dir.write("nginx.conf", R"(
            daemon off; master_process off; pid nginx.pid; events {}
            http {
                access_log off; default_type application/octet-stream; root files;
                client_body_temp_path body; proxy_temp_path proxy; proxy_buffer_size 128k; proxy_buffers 4 128k;
                fastcgi_temp_path fastcgi; uwsgi_temp_path uwsgi; scgi_temp_path scgi;
                ssl_certificate certificate.pem; ssl_certificate_key certificate.pem;
                server {
                    dav_methods PUT DELETE; client_max_body_size 64m;
                    location = /protocol { return 200 $server_protocol; }
                    location /small/ { client_max_body_size 1k; }
                    location /slow/ { limit_rate 500k; }
                    location /packed/ { gzip_static always; }
                    location ~ ^/301(.*) { return 301 $1; }
                    location ~ ^/302(.*) { return 302 $1; }
                    location ~ ^/303(.*) { return 303 $1; }
                    location ~ ^/307(.*) { return 307 $1; }
                    location ~ ^/308(.*) { return 308 $1; }
                    location /origin/ { proxy_pass http://)" +
                                      m_origin + "/; }\n listen " + m_plain + "; listen " + m_tls +
                                      " ssl http2; } }\n");
        m_dir.write("haproxy.conf",
                    "global\n noreuseport\ndefaults\n mode http\n timeout connect 5s\n"
                    " timeout client 60s\n timeout server 60s\nlisten front\n server origin " +
                        m_origin + "\n bind " + m_proxy + " alpn h2,http/1.1 ssl crt " +
                        m_dir.path("certificate.pem") + "\n");
    }

    const TempDir m_dir;
    const std::string m_origin;
    std::string m_plain;
    std::string m_tls;
    std::string m_proxy;
    Server m_nginx;
    Server m_haproxy;
};

}  // namespace vlox_test

#endif
