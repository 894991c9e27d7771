#ifndef QUILCRYPTO_SM9_BYTES_H
#define QUILCRYPTO_SM9_BYTES_H

#include <openssl/crypto.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vloxlib::sm9 {

/// @brief A stretch of bytes that someone else owns and keeps alive for the call.
struct ByteView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;

    ByteView() = default;
    ByteView(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}
    ByteView(const std::string& text)
        : data(reinterpret_cast<const std::uint8_t*>(text.data())), size(text.size()) {}
    template <typename Allocator>
    ByteView(const std::vector<std::uint8_t, Allocator>& bytes) : data(bytes.data()), size(bytes.size()) {}

    const std::uint8_t* begin() const { return data; }
    const std::uint8_t* end() const { return data + size; }
    bool empty() const { return size == 0; }
};

/// @brief std::allocator that cleanses memory before giving it back.
template <typename T>
struct CleansingAllocator {
    using value_type = T;
    CleansingAllocator() = default;
    template <typename U>
    CleansingAllocator(const CleansingAllocator<U>&) {}
    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) {
        OPENSSL_cleanse(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }
    template <typename U>
    bool operator==(const CleansingAllocator<U>&) const {
        return true;
    }
    template <typename U>
    bool operator!=(const CleansingAllocator<U>&) const {
        return false;
    }
};

using Bytes = std::vector<std::uint8_t>;
/// Key material: cleansed when it goes or grows.
using SecretBytes = std::vector<std::uint8_t, CleansingAllocator<std::uint8_t>>;

}  // namespace vloxlib::sm9

#endif
