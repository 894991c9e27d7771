#ifndef VLOXLIB_HTTP_SERVICEADDRESSES_H
#define VLOXLIB_HTTP_SERVICEADDRESSES_H

#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

class ConfigManager;

/// @brief Writes the addresses that "AS" tells of the other services into the configuration.
///
/// The first server of a service counts. Elements behind one that can't be read are lost, those ahead of it
/// stay written; anything but an array is ignored.
void storeServiceAddresses(const JsonValue& services, ConfigManager& config);

}  // namespace vloxlib

#endif
