// Shared libraries by the places that a host looks in.
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

// The folder of a module's file, with its separator; empty when Windows does not tell.
std::wstring folderOf(HMODULE module) {
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

// The folders beneath which names are looked for: the host library's, then the program's. Never the working
// folder, where media come from anywhere: a library runs its code as soon as it is loaded.
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

// Loads one file by its full path. What it needs is looked for beside it, in the program's folder and among
// the system's own, but neither in the working folder nor along PATH. A file that is there and does not load
// is worth a line: nothing else tells why.
HMODULE loadFile(const std::wstring& path) {
  constexpr DWORD kBesideItFirst = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, kBesideItFirst);
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

bool isSeparator(wchar_t character) {
  return kSeparators.find(character) != kSeparators.npos;
}

bool hasDrive(std::wstring_view path) {
  return path.size() > 1 && path[1] == L':';
}

HMODULE load(const char* name) {
  std::wstring path = os::wide(name);
  if (path.empty()) return nullptr;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  const std::size_t slash = path.find_last_of(kSeparators);
  if (path.find(L'.', slash + 1) == path.npos) path += L".dll";  // npos + 1 is 0
  if (hasDrive(path) || isSeparator(path.front())) {
    // A root without a drive stands for that of the working folder.
    if (isSeparator(path.front()) && (path.size() < 2 || !isSeparator(path[1]))) return nullptr;
    // A drive without a root stands for the folder that is current there.
    if (hasDrive(path) && (path.size() < 3 || !isSeparator(path[2]))) return nullptr;
    const std::wstring absolute = os::nativePath(os::narrow(path).c_str());
    return absolute.empty() ? nullptr : loadFile(absolute);
  }
  // As Windows takes a bare name: what is loaded by that name, which other libraries may be bound to, is
  // taken.
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
