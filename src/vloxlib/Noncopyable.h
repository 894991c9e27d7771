#ifndef VLOXLIB_NONCOPYABLE_H
#define VLOXLIB_NONCOPYABLE_H

#include <vloxlib/Export.h>

namespace vloxlib {

/// @brief Base of classes whose objects can't be copied; to be deleted through any base.
class VLOX_API Noncopyable {
public:
    Noncopyable() = default;
    Noncopyable(const Noncopyable&) = delete;
    Noncopyable& operator=(const Noncopyable&) = delete;
    virtual ~Noncopyable() = default;
};

}  // namespace vloxlib

#endif
