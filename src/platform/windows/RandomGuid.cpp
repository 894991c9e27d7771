#include "platform/RandomGuid.h"

#include <windows.h>

#include <objbase.h>

#include <algorithm>

namespace vloxlib::platform {

Guid randomGuid() {
    GUID made{};
    CoCreateGuid(&made);
    Guid guid{made.Data1, made.Data2, made.Data3, {}};
    std::copy(std::begin(made.Data4), std::end(made.Data4), guid.data4.begin());
    return guid;
}

}  // namespace vloxlib::platform
