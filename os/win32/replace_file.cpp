#include "os/replace_file.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>

#include "os/win32/wide.h"

namespace fmp4::os {

namespace {

// How long to wait for a reader that holds the old file. Readers open, read and close it within milliseconds.
constexpr ULONGLONG kMaxWait = 2000;  // milliseconds
constexpr DWORD kWaitStep = 10;

// A temporary file next to the one it replaces, with a name unique across processes and threads. Deleted
// unless it was moved into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::wstring& target) {
    static std::atomic<unsigned> counter = 0;
    const std::wstring start = target + L"." + std::to_wstring(GetCurrentProcessId()) + L"-";
    do {
      path_ = start + std::to_wstring(counter++);
      handle_ = CreateFileW(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    } while (handle_ == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (handle_ != INVALID_HANDLE_VALUE) {
      const DWORD error = GetLastError();
      if (isOpen_) CloseHandle(handle_);
      if (!isMoved_) DeleteFileW(path_.c_str());
      SetLastError(error);
    }
  }

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

  bool write(std::string_view text) {
    constexpr std::size_t kMax = std::numeric_limits<DWORD>::max();
    while (!text.empty()) {
      DWORD bytes = 0;
      if (!WriteFile(handle_, text.data(), static_cast<DWORD>(std::min(text.size(), kMax)), &bytes, nullptr))
        return false;
      text.remove_prefix(bytes);
    }
    return true;
  }

  bool write(std::span<const std::string_view> parts) {
    for (const std::string_view part : parts) {
      if (!write(part)) return false;
    }
    return true;
  }

  // Flush the bytes first: if the name reached the disk before them, a power failure would leave an
  // incomplete file. Waits for a limited time for a reader that holds the target.
  bool moveTo(const std::wstring& target, DWORD flags) {
    if (!FlushFileBuffers(handle_)) return false;
    isOpen_ = false;
    if (!CloseHandle(handle_)) return false;
    const ULONGLONG start = GetTickCount64();
    for (;;) {
      isMoved_ = MoveFileExW(path_.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | flags);
      if (isMoved_) return true;
      const DWORD error = GetLastError();
      const bool isHeld = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
      if (!isHeld || isFolder(target) || GetTickCount64() - start >= kMaxWait) {
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

  std::wstring path_;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  bool isOpen_ = true;
  bool isMoved_ = false;
};

// Resolves a chain of symbolic links, so that the target is replaced and the links stay.
std::wstring resolved(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return path;
  std::wstring real(GetFinalPathNameByHandleW(file, nullptr, 0, VOLUME_NAME_DOS), L'\0');
  real.resize(GetFinalPathNameByHandleW(file, real.data(), static_cast<DWORD>(real.size()), VOLUME_NAME_DOS));
  CloseHandle(file);
  return real.empty() ? path : real;
}

bool replace(const std::string& path, std::span<const std::string_view> parts, Durability durability) {
  const std::wstring name = nativePath(path.c_str());
  if (name.empty()) return false;
  const std::wstring target = resolved(name);
  TemporaryFile file(target);
  return file.isOpen() && file.write(parts) &&
         file.moveTo(target, durability == Durability::NewContent ? MOVEFILE_WRITE_THROUGH : 0);
}

}  // namespace

std::error_code replaceFile(const std::string& path, std::span<const std::string_view> parts,
                            Durability durability) noexcept {
  try {
    if (replace(path, parts, durability)) return {};
    return {static_cast<int>(GetLastError()), std::system_category()};
  } catch (const std::bad_alloc&) {
    return {ERROR_NOT_ENOUGH_MEMORY, std::system_category()};
  }
}

}  // namespace fmp4::os
