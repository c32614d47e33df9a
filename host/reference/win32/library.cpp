// Shared libraries, searched for in the host's directories.
#include <windows.h>

#include <algorithm>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "host/reference/system.h"
#include "os/win32/wide.h"
#include "vlutil.h"

namespace {

constexpr std::wstring_view kSeparators = L"\\/";

// The directory of a module's file, with a trailing separator; empty if Windows does not report it.
std::wstring folderOf(HMODULE module) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      path.resize(path.find_last_of(kSeparators) + 1);  // npos + 1 is 0
      return path;
    }
    path.resize(path.size() * 2);  // truncated
  }
}

// The directories in which names are searched for: the host library's, then the program's. Never the working
// directory, where media from any source may be: a library runs its code as soon as it is loaded.
std::vector<std::wstring> hostFolders() {
  std::vector<std::wstring> folders;
  HMODULE module = nullptr;
  constexpr DWORD kByAddress =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (GetModuleHandleExW(kByAddress, reinterpret_cast<LPCWSTR>(&vlOSLoadLibrary), &module))
    folders.push_back(folderOf(module));
  if (const std::wstring program = folderOf(nullptr); folders.empty() || program != folders[0])
    folders.push_back(program);
  std::erase(folders, L"");
  return folders;
}

bool exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Loads one file by its full path. Its dependencies are searched for in its directory, in the program's and
// in the system's, but neither in the working directory nor along PATH. If an existing file does not load,
// this is logged: nothing else reports why.
HMODULE loadFile(const std::wstring& path) {
  constexpr DWORD kBesideItFirst = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, kBesideItFirst);
  if (library == nullptr) {
    const DWORD error = GetLastError();
    if (exists(path)) {
      ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlhost): %s does not load, error %lu\n",
                fmp4::os::narrow(path).c_str(), error);
    }
    SetLastError(error);
  }
  return library;
}

bool isSeparator(wchar_t character) {
  return kSeparators.find(character) != kSeparators.npos;
}

bool hasDrive(std::wstring_view path) {
  return path.size() > 1 && path[1] == L':';
}

HMODULE load(const char* name) {
  std::wstring path = fmp4::os::wide(name);
  if (path.empty()) return nullptr;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  const std::size_t slash = path.find_last_of(kSeparators);
  if (path.find(L'.', slash + 1) == path.npos) path += L".dll";  // npos + 1 is 0
  if (hasDrive(path) || isSeparator(path.front())) {
    // A root without a drive is relative to the drive of the working directory.
    if (isSeparator(path.front()) && (path.size() < 2 || !isSeparator(path[1]))) return nullptr;
    // A drive without a root stands for the current directory on that drive.
    if (hasDrive(path) && (path.size() < 3 || !isSeparator(path[2]))) return nullptr;
    const std::wstring absolute = fmp4::os::nativePath(fmp4::os::narrow(path).c_str());
    return absolute.empty() ? nullptr : loadFile(absolute);
  }
  // Windows resolves a bare name first to a loaded library of that name, to which other libraries may already
  // be bound; do the same.
  HMODULE loaded = nullptr;
  if (slash == path.npos && GetModuleHandleExW(0, path.c_str(), &loaded)) return loaded;
  for (const std::wstring& folder : hostFolders()) {
    if (const HMODULE library = loadFile(folder + path)) return library;
  }
  if (slash != path.npos) return nullptr;
  return LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

}  // namespace

void* vlOSLoadLibrary(const char* path, std::uint32_t /*flags*/) {
  HMODULE library = nullptr;
  // On a server nobody would answer a message box.
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
