/// @file
/// @brief Work with secrets that leaves nothing of them on the stack.
#ifndef QUILCRYPTO_SM9_WIPEDSTACK_H
#define QUILCRYPTO_SM9_WIPEDSTACK_H

#include <functional>
#include <optional>
#include <utility>

namespace vloxlib::sm9 {

/// @brief Calls the work and wipes the stack beneath this call afterwards, also when the work throws.
void runOnWipedStack(const std::function<void()>& work);

/// @brief The work's result, with the stack beneath this call wiped.
///
/// Arithmetic leaves copies of what it works on in each function's frame, where nobody can name them: the
/// operations that have a secret as argument, as result or in between stand inside such a call as a whole.
/// What the work captures and returns lies above it and is the caller's to wipe.
template <typename Work>
auto onWipedStack(Work&& work) {
    std::optional<decltype(work())> result;
    runOnWipedStack([&] { result.emplace(work()); });
    return *std::move(result);
}

}  // namespace vloxlib::sm9

#endif
