#ifndef DEVSERVER_ADDRESSES_H
#define DEVSERVER_ADDRESSES_H

#include <string>

#include "Http.h"
#include "Misbehaviour.h"

namespace devserver {

/// Where the services of all kinds are, as JSON: at one address, unless the rule wants something else. A
/// kind's further servers bear names that don't resolve.
std::string addressList(const std::string& host, Ports ports, const Misbehaviour& rule);

}  // namespace devserver

#endif
