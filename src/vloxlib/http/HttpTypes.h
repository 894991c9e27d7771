/// @file
/// @brief Small records and choices that requests are described with.
#ifndef VLOXLIB_HTTP_HTTPTYPES_H
#define VLOXLIB_HTTP_HTTPTYPES_H

#include <string>

namespace vloxlib {

/// The verb of a request.
enum HTTPMethod : int {
    HTTP_METHOD_GET = 0,
    HTTP_METHOD_POST = 1,
    HTTP_METHOD_PUT = 2,
    HTTP_METHOD_DELETE = 3
};

/// The kind of server that a request goes to.
enum HTTPBusinessType : int {
    HTTP_BUSINESS_AS = 0,
    HTTP_BUSINESS_FS = 1,
    HTTP_BUSINESS_CDS = 2,
    HTTP_BUSINESS_TOPIC = 3,
    HTTP_BUSINESS_BLS = 4
};

/// How far a server is trusted.
enum SecurityPolicy : int {
    SECURITY_POLICY_PLAIN = 0,      ///< libcurl's own defaults; for "http://" URLs
    SECURITY_POLICY_NO_VERIFY = 1,  ///< neither peer nor host is verified; so for every value not named here
    SECURITY_POLICY_SERVER_CA = 2,  ///< the peer is verified against the built-in roots and the caller's
    SECURITY_POLICY_MUTUAL = 3      ///< as SECURITY_POLICY_SERVER_CA, and the client shows a certificate
};

/// What an exchange does with a file.
enum FileOperateType : int { FILE_OPERATE_NONE = 0, FILE_OPERATE_UPLOAD = 1, FILE_OPERATE_DOWNLOAD = 2 };

/// @brief Time limits of one exchange, in seconds. 0 or less selects the default.
struct QosParams {
    int timeout = 0;         ///< for the whole exchange; the default is no limit
    int connectTimeout = 0;  ///< until the connection stands; the default is 15
};

/// @brief What became of an exchange, in figures and words.
struct ExchangeOutcome {
    int curlCode = 0;        ///< libcurl's result, 0 when a whole reply came
    std::string curlText;    ///< what there is to say of a failure; empty without one
    long verifyResult = 0;   ///< OpenSSL's verdict on the server's certificate, an X509_V_ value; 0: good
    std::string verifyText;  ///< the verdict in OpenSSL's words; empty for a good one
    long status = 0;         ///< HTTP status of the last reply; 0 without one
    std::string address;     ///< the IP address that was connected to, or tried last; empty without one
    bool isNewConnection = false;  ///< false: that of an earlier exchange was used on, or there was none
};

}  // namespace vloxlib

#endif
