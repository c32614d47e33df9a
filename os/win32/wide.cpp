#include "os/win32/wide.h"

#include <windows.h>

namespace fmp4::os {

namespace {

constexpr std::wstring_view kAnyLength = L"\\\\?\\";
constexpr std::wstring_view kShare = L"\\\\";

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    // The length excludes the terminating zero if it fits, and includes it otherwise.
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) return full;
  }
}

}  // namespace

std::wstring wide(std::string_view text) {
  const int bytes = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
  std::wstring result(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, result.data(), length);
  return result;
}

std::string narrow(std::wstring_view text) {
  const int units = static_cast<int>(text.size());
  const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), length, nullptr, nullptr);
  return result;
}

std::wstring nativePath(const char* path) {
  std::wstring name = wide(path);
  if (name.empty()) {
    if (*path == '\0') SetLastError(ERROR_PATH_NOT_FOUND);
    return name;
  }
  if (name.starts_with(kAnyLength)) return name;
  std::wstring full = fullPath(name);
  if (full.size() < MAX_PATH) return full;
  if (!full.starts_with(kShare)) return std::wstring(kAnyLength) + full;
  return std::wstring(kAnyLength) + L"UNC\\" + full.substr(kShare.size());
}

}  // namespace fmp4::os
