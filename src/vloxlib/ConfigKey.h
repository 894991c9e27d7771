#ifndef VLOXLIB_CONFIGKEY_H
#define VLOXLIB_CONFIGKEY_H

namespace vloxlib {

/// @brief Keys of a client's configuration. Those up to the end mark that have no name here are the modules'
/// own.
///
/// "Default" is what every client starts with; keys without one are absent until they are set.
enum _ConfigKey : int {  // NOLINT(bugprone-reserved-identifier): the interface's own name
    CONFIG_AS_HOST = 0,  ///< Host of the service "AS", given by the application.
    CONFIG_AS_PORT = 1,
    CONFIG_PCS_HOST = 3,  ///< This and the hosts and ports below come with the reply to the address query.
    CONFIG_PCS_PORT = 4,
    CONFIG_FS_HOST = 5,
    CONFIG_FS_PORT = 6,
    CONFIG_ENCRYPT_PUBKEY = 8,       ///< The server's public key, or its identity.
    CONFIG_ENCRYPT_PARAM_PATH = 11,  ///< Path of the parameter file of identity-based encryption.
    CONFIG_WEB_REQUEST_MODE = 12,    ///< 0 "http://", others "https://". Default 0.
    CONFIG_CDS_HOST = 13,
    CONFIG_CDS_PORT = 14,
    CONFIG_REQUEST_ENVELOPE_MODE = 16,  ///< 1 puts the caller's data into the request's envelope. Default 1.
    CONFIG_CA_FILE_PATH = 17,     ///< Path of the CA file in the data directory; written by the library.
    CONFIG_CA_CERT_PATH = 18,     ///< Path of a PEM file with the CA certificates.
    CONFIG_ENCRYPT_POLICY = 19,   ///< Kind of asymmetric encryption: 0 none, 2 SM2, 4 SM9. Default 4.
    CONFIG_SERVER_PROTOCOL = 20,  ///< Protocol of the service "PCS", such as "tcp".
    CONFIG_FILE_CHUNK_SIZE = 23,  ///< In bytes. Default 4194304.
    CONFIG_TOPIC_HOST = 24,
    CONFIG_TOPIC_PORT = 25,
    CONFIG_BLS_HOST = 26,
    CONFIG_BLS_PORT = 27,
    CONFIG_FPS_HOST = 28,
    CONFIG_FPS_PORT = 29,
    CONFIG_VOIP_HOST = 30,
    CONFIG_VOIP_PORT = 31,
    CONFIG_MODULE_FLAG_32 = 32,       ///< For modules. Default 0.
    CONFIG_AS_HOST_ALTERNATE = 33,    ///< Second address of the service "AS".
    CONFIG_URL_SERVICE_PREFIX = 34,   ///< Others than 0 put "/vlox/" ahead of the path. Default 1.
    CONFIG_SYM_ENCRYPT_TYPE = 35,     ///< Content encryption: 0 none, 1 AES-128, 2 SM4. Default 1.
    CONFIG_MODULE_FLAG_37 = 37,       ///< For modules. Default 0.
    CONFIG_CLIENT_CERT_CONTENT = 38,  ///< PEM text of the client's certificate and key.
    CONFIG_CLIENT_CERT_PATH = 39,     ///< Path of a PEM file with them.
    CONFIG_KEY_PASSWORD = 40,         ///< Password of the client certificate's key.
    CONFIG_CA_CERT_CONTENT = 41,      ///< PEM text of the CA certificates.
    CONFIG_VERIFY_HOST = 42,       ///< 0 leaves the host name in a certificate unchecked; absent counts as 1.
    CONFIG_MODULE_FLAG_104 = 104,  ///< For modules. Default 2.
    CONFIG_REPLY_LIMIT = 107,      ///< Most bytes of a service's reply; absent counts as 67108864, 64 MiB.
    CONFIG_KEY_END = 108           ///< End mark: this and higher keys are ignored on writing.
};

}  // namespace vloxlib

#endif
