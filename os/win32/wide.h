// Names as the rest of the code knows them, UTF-8, and as Windows takes them.
#pragma once

#include <string>
#include <string_view>

namespace os {

// UTF-16 of a UTF-8 text; empty for text that is no UTF-8 (the system's last error is then set).
std::wstring wide(std::string_view text);

// UTF-8 of a UTF-16 text.
std::string narrow(std::wstring_view text);

// A name in the form that Windows takes at any length: absolute, and with the prefix that lifts the limit of
// MAX_PATH where it is that long. Empty on failure (the system's last error is then set).
std::wstring nativePath(const char* path);

}  // namespace os
