// Converts names between the UTF-8 of the rest of the code and the form that Windows expects.
#pragma once

#include <string>
#include <string_view>

namespace fmp4::os {

// Converts UTF-8 to UTF-16; empty if the text is not valid UTF-8 (the system's last error is then set).
std::wstring wide(std::string_view text);

// Converts UTF-16 to UTF-8.
std::string narrow(std::wstring_view text);

// A name in the form that Windows accepts at any length: absolute, and with the prefix that lifts the limit
// of MAX_PATH if it is that long. Empty on failure (the system's last error is then set).
std::wstring nativePath(const char* path);

}  // namespace fmp4::os
