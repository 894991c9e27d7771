#ifndef VLOXLIB_DNSCACHE_ISCORE_H
#define VLOXLIB_DNSCACHE_ISCORE_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <memory>
#include <string>

namespace vloxlib {

class DomainModel;
class IpModel;

/// Grades the addresses of a domain. Not to be run on one model from two threads.
class VLOX_API IScore : public Noncopyable {
public:
    /// Grades the model's addresses when there are at least two. @return their texts, in the model's order
    virtual std::list<std::string> scoreDomain(std::shared_ptr<DomainModel> model) = 0;
    /// The texts of addresses in list order; none when `count` is 0.
    virtual std::list<std::string> toIpArray(std::list<std::shared_ptr<IpModel>> models, int count) = 0;
};

}  // namespace vloxlib

#endif
