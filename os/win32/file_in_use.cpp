#include "os/file_in_use.h"

#include <windows.h>

#include "os/win32/wide.h"

namespace fmp4::os {

// An open that shares the file for reading only fails while any process has it open for writing.
bool isBeingWritten(const std::string& path) {
  const std::wstring native = nativePath(path.c_str());
  const HANDLE file =
      CreateFileW(native.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
  CloseHandle(file);
  return false;
}

}  // namespace fmp4::os
