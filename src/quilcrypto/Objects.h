// The objects behind the opaque handles.
#ifndef QUILCRYPTO_OBJECTS_H
#define QUILCRYPTO_OBJECTS_H

#include <quilcrypto/QuilCryptoLib.h>
#include <quilcrypto/sm9/Sm9.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace vloxlib::quil {

enum class Kind : std::uint32_t {
    libraryContext = 0x51434C01,
    ibcParameters = 0x51434C02,
    publicKey = 0x51434C03
};

// What every handle points to; the kind tells a handle of one sort from one of another.
class Object {
public:
    explicit Object(Kind kind) : m_kind(kind) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    Kind kind() const { return m_kind; }

private:
    const Kind m_kind;
};

class IbcParameters : public Object {
public:
    static constexpr Kind kKind = Kind::ibcParameters;
    explicit IbcParameters(const sm9::SystemParameters& parameters)
        : Object(kKind), values(std::make_shared<const sm9::SystemParameters>(parameters)) {}

    const std::shared_ptr<const sm9::SystemParameters> values;  // shared with the contexts bound to them
};

class LibraryContext : public Object {
public:
    static constexpr Kind kKind = Kind::libraryContext;
    LibraryContext() : Object(kKind) {}

    std::shared_ptr<const sm9::SystemParameters> parameters;
};

class PublicKey : public Object {
public:
    static constexpr Kind kKind = Kind::publicKey;
    PublicKey() : Object(kKind) {}
    // A capacity that is enough for what encrypt() makes of so many bytes.
    virtual std::size_t capacityFor(std::size_t plainLength) const = 0;
    // The DER cipher text; nothing when the cryptographic library beneath failed.
    virtual std::optional<sm9::Bytes> encrypt(sm9::ByteView plain) const = 0;
};

// A handle as what it should be: null when it is another kind of object.
template <typename T>
T* objectOf(void* handle) {
    auto* object = static_cast<Object*>(handle);
    return object->kind() == T::kKind ? static_cast<T*>(object) : nullptr;
}

// The handle of an object that the caller is to own from now on.
inline void* handleOf(std::unique_ptr<Object> object) { return object.release(); }

// Does nothing for null, and nothing for a handle of another kind.
template <typename T>
void destroy(void* handle) {
    if (handle != nullptr) {
        delete objectOf<T>(handle);
    }
}

// The work's result, or an error code for the exception that no C function may let through.
template <typename Work>
int guarded(Work&& work) {
    try {
        return work();
    } catch (...) {
        return QCL_ERROR_INTERNAL;
    }
}

}  // namespace vloxlib::quil

#endif
