#include "os/open_in_browser.h"

#undef WIN32_LEAN_AND_MEAN  // which leaves the shell's functions out
#include <windows.h>

#include <cstdint>

#include "os/win32/wide.h"

namespace fmp4::os {

std::future<bool> openInBrowser(const std::string& url) {
  constexpr std::intptr_t kLargestError = 32;
  const HINSTANCE result =
      ShellExecuteW(nullptr, L"open", wide(url).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  std::promise<bool> opened;
  opened.set_value(reinterpret_cast<std::intptr_t>(result) > kLargestError);
  return opened.get_future();
}

}  // namespace fmp4::os
