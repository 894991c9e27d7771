#ifndef DEVSERVER_SERVERKEYS_H
#define DEVSERVER_SERVERKEYS_H

#include <quilcrypto/Sm2.h>
#include <quilcrypto/sm9/Sm9.h>

#include <string>

namespace devserver {

/// The platform's own keys, and what clients need of them. Immutable, for any number of threads.
class ServerKeys {
public:
    /// @param directory where the keys are kept, made there by the first start; empty: keys for this run only
    /// @param identity  the name under which clients encrypt with SM9
    /// Throws std::runtime_error.
    ServerKeys(const std::string& directory, const std::string& identity);

    /// For a client's CONFIG_ENCRYPT_PUBKEY with SM2: the point, 04 || x || y, in URL-safe Base64.
    std::string sm2PublicKey() const;
    /// The same with SM9.
    const std::string& sm9Identity() const { return m_identity; }
    /// The system parameters, DER in URL-safe Base64.
    std::string sm9Parameters() const;
    /// For CONFIG_ENCRYPT_PARAM_PATH; empty where keys are for this run only.
    const std::string& sm9ParameterFile() const { return m_parameterFile; }

    /// What a client has wrapped. Throws WireError.
    /// @param algorithm 2 SM2, 4 SM9
    std::string unwrap(int algorithm, const std::string& wrapped) const;

private:
    void writeParameterFile(const std::string& directory);

    const std::string m_identity;
    const vloxlib::sm2::PrivateKey m_sm2;
    const vloxlib::sm9::MasterKey m_sm9Master;
    const vloxlib::sm9::UserKey m_sm9;
    std::string m_parameterFile;
};

}  // namespace devserver

#endif
