// Files based on Windows handles.
#include <windows.h>

#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "host/reference/file_watch.h"
#include "host/reference/opened_file.h"
#include "host/reference/system.h"
#include "os/win32/wide.h"
#include "vlutil.h"

static_assert(VL_GENERIC_READ == GENERIC_READ && VL_GENERIC_WRITE == GENERIC_WRITE);
static_assert(VL_SHARE_READ_WRITE == (FILE_SHARE_READ | FILE_SHARE_WRITE));
static_assert(VL_CREATE_NEW == CREATE_NEW && VL_CREATE_ALWAYS == CREATE_ALWAYS);
static_assert(VL_OPEN_EXISTING == OPEN_EXISTING && VL_OPEN_ALWAYS == OPEN_ALWAYS);

using vlhost::files;
using vlhost::FileTable;
using vlhost::findFile;
using vlhost::OpenedFile;

namespace {

// Flags that CreateFile accepts together with the attributes and that would open something other than a
// seekable file.
constexpr DWORD kForeignFlags = FILE_FLAG_OVERLAPPED | FILE_FLAG_BACKUP_SEMANTICS;

void fail(DWORD error) {
  vlhost::setLastError(error);
}

// The CreateFile argument for a disposition, or nullopt for an invalid combination.
std::optional<DWORD> systemDisposition(std::uint32_t access, std::uint32_t disposition) {
  const bool writes = (access & VL_GENERIC_WRITE) != 0;
  if (!writes && (access & VL_GENERIC_READ) == 0) return std::nullopt;
  switch (disposition) {
    case VL_OPEN_EXISTING:
      return disposition;
    case VL_OPEN_ALWAYS:
      return writes ? disposition : VL_OPEN_EXISTING;
    case VL_CREATE_NEW:
    case VL_CREATE_ALWAYS:
      if (writes) return disposition;
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

OVERLAPPED at(std::int64_t position) {
  OVERLAPPED place = {};
  place.Offset = static_cast<DWORD>(static_cast<std::uint64_t>(position));
  place.OffsetHigh = static_cast<DWORD>(static_cast<std::uint64_t>(position) >> 32);
  return place;
}

}  // namespace

const vlhost::FileErrors vlhost::kFileErrors = {ERROR_INVALID_HANDLE, ERROR_INVALID_PARAMETER,
                                                ERROR_NEGATIVE_SEEK};

std::int64_t vlhost::sizeOf(SystemFile handle) {
  LARGE_INTEGER size = {};
  if (GetFileSizeEx(handle, &size)) return size.QuadPart;
  fail(GetLastError());
  return -1;
}

VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                        std::uint32_t disposition, std::uint32_t attributes, VLHANDLE /*templateFile*/) try {
  const std::optional<DWORD> wanted = systemDisposition(access, disposition);
  if (path == nullptr || !wanted) {
    fail(ERROR_INVALID_PARAMETER);
    return VL_INVALID_HANDLE;
  }
  const std::wstring name = fmp4::os::nativePath(path);
  OpenedFile file = {INVALID_HANDLE_VALUE, 0};
  if (!name.empty()) {
    file.system = CreateFileW(name.c_str(), access & (VL_GENERIC_READ | VL_GENERIC_WRITE), share,
                              static_cast<SECURITY_ATTRIBUTES*>(security), *wanted,
                              attributes & ~kForeignFlags, nullptr);
  }
  if (file.system == INVALID_HANDLE_VALUE) {
    fail(GetLastError());
    return VL_INVALID_HANDLE;
  }
  DWORD error = ERROR_SEEK_ON_DEVICE;  // pipes, terminals
  if (GetFileType(file.system) == FILE_TYPE_DISK) {
    const VLHANDLE handle = files().insert(file);
    if (handle != VL_INVALID_HANDLE) {
      vlhost::fileOpened(path, handle);
      return handle;
    }
    error = ERROR_NOT_ENOUGH_MEMORY;
  }
  CloseHandle(file.system);
  fail(error);
  return VL_INVALID_HANDLE;
} catch (const std::bad_alloc&) {
  fail(ERROR_NOT_ENOUGH_MEMORY);
  return VL_INVALID_HANDLE;
}

std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done) {
  if (done != nullptr) *done = 0;
  const FileTable::Use use = findFile(file);
  if (!use) return 0;
  if (count == 0) return 1;
  if (buffer == nullptr) {
    fail(ERROR_NOACCESS);
    return 0;
  }
  OVERLAPPED place = at(use->position);
  DWORD bytes = 0;
  const bool isRead =
      ReadFile(use->system, buffer, count, &bytes, &place) || GetLastError() == ERROR_HANDLE_EOF;
  if (!isRead) fail(GetLastError());
  vlhost::fileRead(file, use->position, buffer, bytes);
  use->position += bytes;
  if (done != nullptr) *done = bytes;
  return isRead ? 1 : 0;
}

std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  if (done != nullptr) *done = 0;
  const FileTable::Use use = findFile(file);
  if (!use) return 0;
  if (count == 0) return 1;
  if (buffer == nullptr) {
    fail(ERROR_NOACCESS);
    return 0;
  }
  OVERLAPPED place = at(use->position);
  DWORD bytes = 0;
  const bool isWritten = WriteFile(use->system, buffer, count, &bytes, &place);
  if (!isWritten) {
    fail(GetLastError());
  } else if (bytes != count) {
    fail(ERROR_WRITE_FAULT);
  }
  use->position += bytes;
  if (done != nullptr) *done = bytes;
  return isWritten && bytes == count ? 1 : 0;
}

std::int32_t vlOSCloseFile(VLHANDLE file) {
  const std::optional<OpenedFile> removed = files().remove(file);
  if (!removed) {
    fail(ERROR_INVALID_HANDLE);
    return 0;
  }
  if (CloseHandle(removed->system)) return 1;
  fail(GetLastError());
  return 0;
}

std::int32_t vlOSFileExists(const char* path) try {
  if (path == nullptr) return 0;
  const std::wstring name = fmp4::os::nativePath(path);
  const DWORD attributes = name.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? 1 : 0;
} catch (const std::bad_alloc&) {
  return 0;
}
