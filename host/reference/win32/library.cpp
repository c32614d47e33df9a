// Shared libraries by the places that a host looks in.
#include <windows.h>

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "system.h"
#include "vlutil.h"
#include "wide.h"

namespace {

constexpr std::wstring_view kSeparators = L"\\/";

// The folder of the host library, with its separator; empty when Windows does not tell.
std::wstring hostFolder() {
  HMODULE module = nullptr;
  constexpr DWORD kByAddress =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(kByAddress, reinterpret_cast<LPCWSTR>(&vlOSLoadLibrary), &module)) return {};
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      path.resize(path.find_last_of(kSeparators) + 1);  // npos + 1 is 0
      return path;
    }
    path.resize(path.size() * 2);  // cut off
  }
}

bool exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Loads one file; what it needs is looked for beside it first. A file that is there and does not load is
// worth a line: nothing else tells why.
HMODULE loadFile(const std::wstring& path) {
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library == nullptr) {
    const DWORD error = GetLastError();
    if (exists(path)) {
      ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlhost): %s does not load, error %lu\n",
                os::narrow(path).c_str(), error);
    }
    SetLastError(error);
  }
  return library;
}

// A name that starts from a drive, a share or the root of the current drive.
bool isAnchored(std::wstring_view path) {
  return (path.size() > 1 && path[1] == L':') || kSeparators.find(path.front()) != kSeparators.npos;
}

HMODULE load(const char* name) {
  std::wstring path = os::wide(name);
  if (path.empty()) return nullptr;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  const std::size_t slash = path.find_last_of(kSeparators);
  if (path.find(L'.', slash + 1) == path.npos) path += L".dll";  // npos + 1 is 0
  const auto loadAbsolute = [](const std::wstring& file) {
    const std::wstring absolute = os::nativePath(os::narrow(file).c_str());
    return absolute.empty() ? nullptr : loadFile(absolute);
  };
  if (isAnchored(path)) return loadAbsolute(path);
  if (const std::wstring folder = hostFolder(); !folder.empty()) {
    if (const HMODULE library = loadFile(folder + path)) return library;
  }
  // Without a folder, Windows' search path.
  return slash == path.npos ? LoadLibraryExW(path.c_str(), nullptr, 0) : loadAbsolute(path);
}

}  // namespace

void* vlOSLoadLibrary(const char* path, std::uint32_t /*flags*/) {
  HMODULE library = nullptr;
  // A server has nobody to answer a message box.
  DWORD mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &mode);
  SetLastError(ERROR_MOD_NOT_FOUND);
  try {
    if (path != nullptr) library = load(path);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  }
  if (library == nullptr) vlhost::setLastError(GetLastError());
  SetThreadErrorMode(mode, nullptr);
  return reinterpret_cast<void*>(library);
}

void* vlOSGetProcAddress(void* library, const char* name) {
  if (library == nullptr || name == nullptr) return nullptr;
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

std::int32_t vlOSFreeLibrary(void* library) {
  return library != nullptr && FreeLibrary(static_cast<HMODULE>(library)) ? 1 : 0;
}
