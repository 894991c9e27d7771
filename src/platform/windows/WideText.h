#ifndef PLATFORM_WINDOWS_WIDETEXT_H
#define PLATFORM_WINDOWS_WIDETEXT_H

#include <string>

namespace vloxlib::platform {

// Between UTF-8, which everything above speaks, and the UTF-16 of the system's calls. What isn't valid
// becomes the replacement character.
std::wstring toWide(const std::string& text);
std::string fromWide(const std::wstring& text);

}  // namespace vloxlib::platform

#endif
