#include <openssl/crypto.h>
#include <quilcrypto/sm9/WipedStack.h>

#include <cstddef>
#include <cstdint>

namespace vloxlib::sm9 {
namespace {

// More than twice what the deepest of the operations takes.
constexpr std::size_t kDepth = 32768;

void wipe() {
    std::uint8_t area[kDepth];
    OPENSSL_cleanse(area, sizeof area);
}

// Through a pointer that the compiler can't see through, so that the frame begins where that of the work
// began.
void (*volatile s_wipe)() = wipe;

struct WipeAtEnd {
    WipeAtEnd() = default;
    ~WipeAtEnd() { s_wipe(); }
    WipeAtEnd(const WipeAtEnd&) = delete;
    WipeAtEnd& operator=(const WipeAtEnd&) = delete;
};

}  // namespace

void runOnWipedStack(const std::function<void()>& work) {
    const WipeAtEnd wipeAtEnd;
    work();
}

}  // namespace vloxlib::sm9
