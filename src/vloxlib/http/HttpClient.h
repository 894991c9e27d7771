#ifndef VLOXLIB_HTTP_HTTPCLIENT_H
#define VLOXLIB_HTTP_HTTPCLIENT_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/http/FileParam.h>
#include <vloxlib/http/HttpTypes.h>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vloxlib {

struct ClientState;

/// @brief One synchronous HTTP exchange.
///
/// Life: one of the create operations, then parameters, headers and security settings, then performSync(),
/// then the reply's accessors. An object is made for one exchange; a failed exchange is reported and not
/// tried again. Only http and https are spoken, over HTTP/1.1; redirects are followed, but never from https
/// to http. Threads: one. Ownership: copies share libcurl's handle and header list with the original, which
/// go with the last of them. Errors: 0 is success; -803 to -828 stand for libcurl's failures (-828 for a
/// time-out), -199 for an HTTP status other than 200 and 302 without a "Redirect" header and for all other
/// failures, -201 for a bad argument. A status of 201 or 204 is a failure, too, whose reply is dropped: who
/// talks to servers that answer so looks at getOutcome(), where curlCode is 0 and status tells them apart.
class VLOX_API HttpClient {
public:
    using Fields = std::map<std::string, std::string>;

    HttpClient();
    HttpClient(const HttpClient&);
    HttpClient& operator=(const HttpClient&);
    ~HttpClient();

    int createGetRequest(const std::string& url);     ///< @return 0
    int createPostRequest(const std::string& url);    ///< @return 0
    int createPutRequest(const std::string& url);     ///< @return 0
    int createDeleteRequest(const std::string& url);  ///< @return 0

    /// @brief Adds a field: into the body of a POST, into the query of the others.
    ///
    /// The value is escaped here, up to its first NUL; the key goes out as it is. A key that is there keeps
    /// its first value. @return 0, or -201 for an empty key or value
    int addParam(std::string key, std::string value);
    /// @brief Adds a request header; one that is there keeps its first value.
    /// @return 0, or -201 for an empty key or value and for one with a line end
    int addHeader(std::string key, std::string value);
    /// Replaces all request headers. @return 0, or -201 for one with a line end, and they stay as they were
    int setHeader(const Fields& headers);
    Fields getHeader() const;
    Fields getParam() const;  ///< The fields, values escaped.

    /// @name A file in the exchange, after the create operation
    /// A transfer below 10 bytes a second for 60 seconds ends with -828. It needs a progress function;
    /// without one std::bad_function_call leaves performSync() at the first whole percent, as does what a
    /// progress function throws.
    /// @{

    /// @brief Sends a file or a slice of it: as a part of a form with POST, as the body with PUT.
    /// @param key name of the form part
    /// @param path the file, UTF-8
    /// @param left,right first byte of the slice and first byte behind it; -1 for the whole file
    /// @param alreadyRead bytes of the slice to be left out, normally 0
    /// @return 0; -201 for an empty key or path and a file that doesn't open
    int setUploadFile(std::string key, std::string path, long left, long right, long alreadyRead);
    /// @brief Writes the reply's body to a file, with GET and with POST. A JSON failure in its place ends as
    /// a positive wire code with the text in getResultData(), and the file is removed.
    /// @param path the file, UTF-8
    /// @param mode 1 appends to the file, others start it anew
    /// @param offset the first byte to ask for, which always goes out as a "Range" header
    /// @return 0, or -201 for an empty path
    int setDownloadFile(std::string path, int mode, long offset);
    /// @brief As setDownloadFile(), but the file is never a mixture and never cut off when the result is 0.
    ///
    /// What is at the path is touched when the server's file begins, and not by a failure in its place. An
    /// attempt that broke off is gone on with, by any later client, as long as the server still has the very
    /// same file, by its length and its ETag or date. Otherwise that one ends with -199 and its reason in the
    /// log, and the next starts anew, as each does where the server sends neither. Until the download is
    /// whole, its version stands in a file beside it, of the same name with ".version" behind it. No progress
    /// function is needed.
    /// @param path the file, UTF-8
    /// @return 0, or -201 for an empty path
    int setCarefulDownload(std::string path);
    /// @brief Ends the transfer at libcurl's next step, POST and download with -109. From any thread.
    /// @return 0, or -1 when the exchange moves no file
    int httpCancel();
    FileParam* getFileParam() const;  ///< Owned by the client; may be null.
    FileOperateType getFileType() const;
    bool isFileOperate() const;
    /// @}

    /// @brief Bounds a reply that is held in memory: a longer one ends the exchange with -199.
    /// @param bytes 64 MiB from the start; 0 or less for no bound
    void setReplyLimit(__int64 bytes);

    /// @brief Runs the exchange on the calling thread.
    ///
    /// The address is the one that DNSCache gives for the URL's host, which is told when the exchange fails
    /// over it while there is a network; without one libcurl resolves the host. The host's own name goes into
    /// the request and into the check of its certificate all the same. The look-up counts towards the limits
    /// and ends with httpCancel(); for a host behind a proxy there is none. DNSCache::useAllAddresses() makes
    /// the exchange try the host's other addresses, too.
    /// @param qos time limits; null for the defaults
    /// @param httpCode receives the last reply's HTTP status, 0 without a reply; may be null
    int performSync(std::shared_ptr<QosParams> qos, long* httpCode);
    /// The first half of performSync(): makes libcurl's handle and gives it what all methods share. @return 0
    int syncCommonParams(std::shared_ptr<QosParams> qos);
    /// The second half: runs the exchange by its method. A method of no name runs nothing and gives 0.
    int httpPerform(long* httpCode);
    int httpPerformGet(long* httpCode);
    int httpPerformPost(long* httpCode);
    int httpPerformPut(long* httpCode);
    int httpPerformDelete(long* httpCode);
    /// What GET and POST do when a download has been set, once the rest of the request is prepared.
    int httpPerformDownload(long* httpCode);

    /// @name How far the server is trusted, and who the client is
    /// Texts are PEM, paths are UTF-8, files are read anew for each exchange. What is malformed or doesn't
    /// fit is logged; the exchange then goes on without it and fails in the handshake where it was needed.
    /// @{
    void setSecurityPolicy(SecurityPolicy policy);
    /// A file of certificate authorities to be trusted beside the built-in ones and those of setCAContent().
    void setCAPath(const std::string& path);
    void setCAContent(const std::string& pem);
    /// The client's key, its certificate and the chain of those who issued it, in any order; read only
    /// without setClientCertContent().
    void setClientCertPath(const std::string& path);
    void setClientCertContent(const std::string& pem);
    void setKeyPassword(const std::string& password);
    /// false leaves the host name in the server's certificate unchecked. @param verify true from the start
    void setVerifyHost(bool verify);
    /// @}

    /// @brief What became of the last exchange, beyond its code. The same stands in the log after a failure.
    const ExchangeOutcome& getOutcome() const;
    /// The reply's body up to its first NUL; empty after a failure.
    std::string& getResultData();
    void setResultData(std::string data);
    /// The reply's headers, names as sent; over redirects, the first value of a name.
    Fields& getResultHeader();
    void setResultHeader(Fields headers);
    /// One header of the reply, by its name as sent; empty when it isn't there.
    std::string getResultHeaderByKey(const std::string& key) const;
    std::string getContentType() const;
    /// The start offset that the reply's "Content-Range" names, in bytes; 0 without one.
    __int64 getContentRange();
    bool isRedirect() const;  ///< The reply carries a "Redirect" header that isn't empty.

    const std::string& getUrl() const;
    HTTPMethod getHttpMode() const;
    int getPostMode() const;
    const std::string& getActionId() const;
    /// A tag of the caller's; it isn't sent.
    void setActionId(const std::string& actionId);
    const std::function<void(int)>& getProgressCallback() const;
    /// Gets whole percents, 0 to 99, on the thread of performSync().
    void setProgressCallback(std::function<void(int)> callback);
    const std::function<void(int, int)>& getResultCallback() const;
    /// Kept for the caller; the exchange doesn't call it.
    void setResultCallback(std::function<void(int, int)> callback);
    /// libcurl's easy handle, still owned by the client; null before syncCommonParams().
    void* getCurlHandle() const;

private:
    int create(HTTPMethod method, const std::string& url);

    std::unique_ptr<ClientState> m_state;
};

}  // namespace vloxlib

#endif
