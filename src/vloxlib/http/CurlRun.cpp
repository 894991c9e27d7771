#include "vloxlib/http/CurlRun.h"

#include <Poco/String.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/ReplyBody.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr long kLowSpeedBytes = 10;
constexpr long kFirstFinalStatus = 200;  // those below announce a reply that is still to come

struct Free {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    void operator()(curl_mime* form) const { curl_mime_free(form); }
};

// One run, as libcurl's callbacks see it.
class Run {
public:
    Run(CURL* curl, const ExchangeRequest& request)
        : m_curl(curl), m_request(request), m_headers(request.headers) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() { takeBack(); }

    ExchangeReply perform() {
        setTarget();
        setBody();
        setCallbacks();
        set(CURLOPT_HTTPHEADER, m_headers.get());
        ExchangeOutcome& outcome = m_reply.outcome;
        outcome.curlCode = curl_easy_perform(m_curl);
        curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &outcome.status);
        if (outcome.status < kFirstFinalStatus) {
            outcome.status = 0;
        }
        VLOX_LOG(2, "httpCode=%ld,ret=%d", outcome.status, outcome.curlCode);
        describeOutcome();
        return std::move(m_reply);
    }

private:
    template <class Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(m_curl, option, value);
    }

    void setTarget() {
        const PinnedHost* const pinned = m_request.pinned;
        if (pinned && !pinned->addresses.empty()) {
            const std::string line =
                pinned->host + ":" + pinned->port + ":" +
                Poco::cat(std::string(","), pinned->addresses.begin(), pinned->addresses.end());
            m_resolve.reset(curl_slist_append(nullptr, line.c_str()));
        }
        set(CURLOPT_REDIR_PROTOCOLS_STR, kSchemes);
        set(CURLOPT_RESOLVE, m_resolve.get());
        set(CURLOPT_URL, m_request.url.c_str());
    }

    void setBody() {
        switch (m_request.method) {
            case HTTP_METHOD_GET:
                set(CURLOPT_HTTPGET, 1L);
                return;
            case HTTP_METHOD_POST:
                return m_request.source ? setForm() : setFields();
            case HTTP_METHOD_PUT:
                return m_request.source ? setFile() : set(CURLOPT_CUSTOMREQUEST, "PUT");
            case HTTP_METHOD_DELETE:
                set(CURLOPT_CUSTOMREQUEST, "DELETE");
        }
    }

    // From a certain size on libcurl would ask first whether it may send.
    void setFields() {
        set(CURLOPT_POSTFIELDS, m_request.form.c_str());
        set(CURLOPT_POST, 1L);
        appendLine(m_headers, "Expect:");
    }

    void setFile() {
        set(CURLOPT_UPLOAD, 1L);
        set(CURLOPT_READFUNCTION, &Run::give);
        set(CURLOPT_READDATA, this);
        set(CURLOPT_SEEKFUNCTION, &Run::goTo);
        set(CURLOPT_SEEKDATA, this);
        set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(m_request.source->length()));
    }

    void setForm() {
        m_form.reset(curl_mime_init(m_curl));
        for (const auto& [key, value] : *m_request.parts) {
            curl_mimepart* const part = curl_mime_addpart(m_form.get());
            curl_mime_name(part, key.c_str());
            curl_mime_data(part, value.data(), value.size());
            curl_mime_type(part, "text/plain");
        }
        curl_mimepart* const part = curl_mime_addpart(m_form.get());
        curl_mime_name(part, m_request.partName.c_str());
        curl_mime_data_cb(part, m_request.source->length(), &Run::give, &Run::goTo, nullptr, this);
        curl_mime_filename(part, m_request.fileName.c_str());
        curl_mime_type(part, "application/octet-stream");
        set(CURLOPT_MIMEPOST, m_form.get());
    }

    void setCallbacks() {
        set(CURLOPT_ERRORBUFFER, m_errorText);
        set(CURLOPT_HEADERFUNCTION, &Run::takeHeader);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_WRITEFUNCTION, &Run::take);
        set(CURLOPT_WRITEDATA, this);
        if (m_request.progress || m_request.cancelled) {
            set(CURLOPT_NOPROGRESS, 0L);
            set(CURLOPT_XFERINFOFUNCTION, &Run::watch);
            set(CURLOPT_XFERINFODATA, this);
        }
        if (m_request.stallLimit > 0) {
            set(CURLOPT_LOW_SPEED_LIMIT, kLowSpeedBytes);
            set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_request.stallLimit));
        }
    }

    void takeBack() {
        set(CURLOPT_ERRORBUFFER, static_cast<char*>(nullptr));
        set(CURLOPT_HEADERFUNCTION, nullptr);
        set(CURLOPT_HEADERDATA, nullptr);
        set(CURLOPT_WRITEFUNCTION, nullptr);
        set(CURLOPT_WRITEDATA, nullptr);
        set(CURLOPT_READFUNCTION, nullptr);
        set(CURLOPT_READDATA, nullptr);
        set(CURLOPT_SEEKFUNCTION, nullptr);
        set(CURLOPT_SEEKDATA, nullptr);
        set(CURLOPT_NOPROGRESS, 1L);
        set(CURLOPT_XFERINFODATA, nullptr);
        set(CURLOPT_LOW_SPEED_LIMIT, 0L);
        set(CURLOPT_LOW_SPEED_TIME, 0L);
        set(CURLOPT_MIMEPOST, nullptr);
        set(CURLOPT_HTTPHEADER, nullptr);
        set(CURLOPT_RESOLVE, nullptr);
        set(CURLOPT_POSTFIELDS, nullptr);
        set(CURLOPT_CUSTOMREQUEST, nullptr);
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_HTTPGET, 1L);
    }

    void describeOutcome() {
        ExchangeOutcome& outcome = m_reply.outcome;
        const char* address = nullptr;
        curl_easy_getinfo(m_curl, CURLINFO_PRIMARY_IP, &address);
        outcome.address = address ? address : "";
        long connections = 0;
        curl_easy_getinfo(m_curl, CURLINFO_NUM_CONNECTS, &connections);
        outcome.isNewConnection = connections > 0;
        curl_easy_getinfo(m_curl, CURLINFO_SSL_VERIFYRESULT, &outcome.verifyResult);
        if (outcome.verifyResult == X509_V_ERR_UNSPECIFIED) {  // libcurl's own start: nothing was found wrong
            outcome.verifyResult = X509_V_OK;
        }
        if (outcome.verifyResult != X509_V_OK) {
            outcome.verifyText = X509_verify_cert_error_string(outcome.verifyResult);
        }
        if (!m_body.tellRefusal(outcome) && outcome.curlCode != CURLE_OK) {
            outcome.curlText = m_errorText[0] != '\0'
                                   ? m_errorText
                                   : curl_easy_strerror(static_cast<CURLcode>(outcome.curlCode));
        }
    }

    bool isCancelled() const {
        const bool cancelled = m_request.cancelled && *m_request.cancelled;
        if (cancelled) {
            VLOX_LOG(2, "canceld");
        }
        return cancelled;
    }

    // An exception must not pass through libcurl's frames: the other result makes it end the exchange.
    template <class Result, class Work>
    static Result guarded(Result otherwise, Work work) {
        try {
            return work();
        } catch (const std::exception&) {
            return otherwise;
        }
    }

    static std::size_t takeHeader(char* bytes, std::size_t size, std::size_t count, void* run) {
        auto& self = *static_cast<Run*>(run);
        return guarded(std::size_t{0}, [&] {
            self.m_reply.headers.take({bytes, size * count});
            self.keepTls();
            self.heedSeeOther();
            return size * count;
        });
    }

    // What went out over TLS isn't repeated in the clear, wherever a redirect leads.
    void keepTls() {
        const long status = m_reply.headers.status();
        const char* scheme = nullptr;
        if (status >= 300 && status < 400 && !m_tlsKept) {
            curl_easy_getinfo(m_curl, CURLINFO_SCHEME, &scheme);
            m_tlsKept = scheme && isSameName(scheme, "https");
            if (m_tlsKept) {
                set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
            }
        }
    }

    // A 303 wants a GET, but libcurl would repeat a verb that was set by its name. A DELETE ends there.
    void heedSeeOther() {
        if (m_reply.headers.status() != 303) {
            return;
        }
        if (m_request.method == HTTP_METHOD_DELETE) {
            set(CURLOPT_FOLLOWLOCATION, 0L);
        } else if (m_request.method == HTTP_METHOD_PUT) {
            set(CURLOPT_CUSTOMREQUEST, nullptr);
        }
    }

    static std::size_t take(char* bytes, std::size_t size, std::size_t count, void* run) {
        auto& self = *static_cast<Run*>(run);
        return guarded(std::size_t{0}, [&] {
            const bool ended = self.m_request.sink && self.isCancelled();
            return !ended && self.m_body.take(bytes, size * count) ? size * count : 0;
        });
    }

    static std::size_t give(char* buffer, std::size_t size, std::size_t count, void* run) {
        auto& self = *static_cast<Run*>(run);
        return guarded(std::size_t{CURL_READFUNC_ABORT}, [&]() -> std::size_t {
            if (self.isCancelled()) {
                return CURL_READFUNC_ABORT;
            }
            return self.m_request.source->give(buffer, size * count).value_or(CURL_READFUNC_ABORT);
        });
    }

    static int goTo(void* run, curl_off_t offset, int origin) {
        auto& self = *static_cast<Run*>(run);
        return guarded(CURL_SEEKFUNC_FAIL, [&] {
            const bool gone = origin == SEEK_SET && self.m_request.source->goTo(offset);
            return gone ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
        });
    }

    static int watch(void* run, curl_off_t downloadTotal, curl_off_t downloaded, curl_off_t uploadTotal,
                     curl_off_t uploaded) {
        return static_cast<Run*>(run)->tell({downloadTotal, downloaded, uploadTotal, uploaded});
    }

    int tell(const TransferProgress& progress) {
        if (isCancelled()) {
            return -1;
        }
        try {
            if (m_request.progress) {
                m_request.progress(progress, m_reply);
            }
        } catch (...) {
            m_reply.thrown = std::current_exception();
            return -1;
        }
        return 0;
    }

    CURL* m_curl;
    const ExchangeRequest& m_request;
    HeaderLines m_headers;
    std::unique_ptr<curl_slist, Free> m_resolve;
    std::unique_ptr<curl_mime, Free> m_form;
    char m_errorText[CURL_ERROR_SIZE] = "";
    bool m_tlsKept = false;
    ExchangeReply m_reply;
    ReplyBody m_body{m_request, m_reply};
};

}  // namespace

ExchangeReply runOn(CURL* curl, const ExchangeRequest& request) {
    const bool begins = !request.pinned || request.pinned->curlCode == CURLE_OK;
    return begins ? Run(curl, request).perform() : notBegun(request.pinned->curlCode);
}

}  // namespace vloxlib
