#include <windows.h>

namespace vloxlib::platform {

namespace {

// Some threads never end, and their code has to stay when a program frees the library: it counts as loaded
// until the process ends.
const BOOL s_pinned = [] {
    static const wchar_t s_anything = 0;
    HMODULE self = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              &s_anything, &self);
}();

}  // namespace

}  // namespace vloxlib::platform
