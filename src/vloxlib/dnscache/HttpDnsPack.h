#ifndef VLOXLIB_DNSCACHE_HTTPDNSPACK_H
#define VLOXLIB_DNSCACHE_HTTPDNSPACK_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <memory>
#include <string>

namespace vloxlib {

class DomainModel;
class IP;

/// One provider's reply to the question for a domain.
class VLOX_API HttpDnsPack : public Noncopyable {
public:
    explicit HttpDnsPack(const std::string& domainName) : domain(domainName) {}

    /// The pack as one line of JSON for the log. Addresses without a text are left out.
    std::string toJson() const;
    /// The pack in the form that the cache keeps, made now; addresses in the same order.
    std::shared_ptr<DomainModel> toDomainModel() const;

    std::string domain;                  ///< the name asked for
    std::string device_ip;               ///< the client's address as the provider saw it
    std::string device_sp;               ///< the client's carrier as the provider saw it
    std::list<std::shared_ptr<IP>> dns;  ///< the addresses, in the provider's order
    std::string localhostSp;             ///< the carrier that the client believes it is on
    std::string rawResult;               ///< the reply as received
};

}  // namespace vloxlib

#endif
