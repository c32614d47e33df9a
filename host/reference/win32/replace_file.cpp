// How a file is replaced in one step.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "system.h"
#include "vlutil.h"
#include "wide.h"

namespace {

// How long a reader that holds the old file is waited for. Readers open it, read it and close it: it is a
// matter of milliseconds.
constexpr ULONGLONG kLongestWait = 2000;  // milliseconds
constexpr DWORD kWaitStep = 10;

// A new file beside the one it is to replace, of a name that no other process or thread uses. Gone again
// unless it was moved there.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::wstring& target) {
    static std::atomic<unsigned> counter = 0;
    const std::wstring start = target + L"." + std::to_wstring(GetCurrentProcessId()) + L"-";
    do {
      m_path = start + std::to_wstring(counter++);
      m_handle = CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    } while (m_handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (m_handle != INVALID_HANDLE_VALUE) {
      const DWORD error = GetLastError();
      if (m_isOpen) CloseHandle(m_handle);
      if (!m_isMoved) DeleteFileW(m_path.c_str());
      SetLastError(error);
    }
  }

  bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

  bool write(std::string_view text) {
    constexpr std::size_t kMost = std::numeric_limits<DWORD>::max();
    while (!text.empty()) {
      DWORD bytes = 0;
      if (!WriteFile(m_handle, text.data(), static_cast<DWORD>(std::min(text.size(), kMost)), &bytes,
                     nullptr))
        return false;
      text.remove_prefix(bytes);
    }
    return FlushFileBuffers(m_handle);
  }

  // Waits, not for ever, for a reader that holds the target.
  bool moveTo(const std::wstring& target) {
    m_isOpen = false;
    if (!CloseHandle(m_handle)) return false;
    const ULONGLONG start = GetTickCount64();
    for (;;) {
      m_isMoved =
          MoveFileExW(m_path.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
      if (m_isMoved) return true;
      const DWORD error = GetLastError();
      const bool isHeld = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
      if (!isHeld || isFolder(target) || GetTickCount64() - start >= kLongestWait) {
        SetLastError(error);
        return false;
      }
      Sleep(kWaitStep);
    }
  }

 private:
  static bool isFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  }

  std::wstring m_path;
  HANDLE m_handle = INVALID_HANDLE_VALUE;
  bool m_isOpen = true;
  bool m_isMoved = false;
};

// The file that a chain of links leads to, so that the file is replaced and the links stay.
std::wstring resolved(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return path;
  std::wstring real(GetFinalPathNameByHandleW(file, nullptr, 0, VOLUME_NAME_DOS), L'\0');
  real.resize(GetFinalPathNameByHandleW(file, real.data(), static_cast<DWORD>(real.size()), VOLUME_NAME_DOS));
  CloseHandle(file);
  return real.empty() ? path : real;
}

bool replace(const char* path, std::string_view text) {
  const std::wstring name = vlhost::nativePath(path);
  if (name.empty()) return false;
  const std::wstring target = resolved(name);
  TemporaryFile file(target);
  return file.isOpen() && file.write(text) && file.moveTo(target);
}

}  // namespace

std::int32_t vlOSReplaceFile(const char* path, const void* content, std::size_t count) try {
  if (path == nullptr || (content == nullptr && count != 0)) {
    vlhost::setLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (replace(path, {static_cast<const char*>(content), count})) return 1;
  vlhost::setLastError(GetLastError());
  return 0;
} catch (const std::bad_alloc&) {
  vlhost::setLastError(ERROR_NOT_ENOUGH_MEMORY);
  return 0;
}
