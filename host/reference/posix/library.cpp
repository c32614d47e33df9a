// Shared libraries, and the translation of their Windows names.
#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/reference/posix/elf_file.h"
#include "host/reference/system.h"
#include "vlutil.h"

namespace {

// ---- Search directories -------------------------------------------------------------------------------

// The directory of a file, with symbolic links resolved and a trailing separator; empty if there is none.
std::string folderOf(const char* file) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(file, nullptr), &std::free);
  std::string path = real == nullptr ? "" : real.get();
  path.resize(path.rfind('/') + 1);  // npos + 1 is 0
  return path;
}

// The directories in which names are searched for: the host library's, then the program's. Never the working
// directory, where media from any source may be: a library runs its code as soon as it is loaded.
const std::vector<std::string>& hostFolders() {
  static const std::vector<std::string>& folders = *[] {
    Dl_info info = {};
    const bool known = dladdr(reinterpret_cast<const void*>(&vlOSLoadLibrary), &info) != 0;
    const std::string library = known && info.dli_fname != nullptr ? folderOf(info.dli_fname) : "";
    const std::string program = folderOf("/proc/self/exe");
    auto* found = new std::vector<std::string>;
    if (!library.empty()) found->push_back(library);
    if (!program.empty() && program != library) found->push_back(program);
    return found;
  }();
  return folders;
}

// ---- Names --------------------------------------------------------------------------------------------

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// "libNAME.so", "NAME.so.57": names that need no translation.
bool isNativeName(std::string_view name) {
  const std::size_t suffix = name.rfind(".so");
  if (suffix == std::string_view::npos) return false;
  const std::string_view version = name.substr(suffix + 3);
  return version.empty() || (version.size() > 1 && version[0] == '.' &&
                             version.find_first_not_of("0123456789.") == std::string_view::npos);
}

std::string_view withoutDllEnding(std::string_view name) {
  constexpr std::string_view kEnding = ".dll";
  if (name.size() < kEnding.size()) return name;
  const std::string_view ending = name.substr(name.size() - kEnding.size());
  const bool isDll = std::equal(ending.begin(), ending.end(), kEnding.begin(), [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? a + ('a' - 'A') : a) == b;
  });
  if (isDll) name.remove_suffix(kEnding.size());
  return name;
}

// The candidate file names for a library name, in the order in which they are tried.
std::vector<std::string> nativeNames(std::string_view name) {
  if (isNativeName(name)) return {std::string(name)};
  const std::string_view stem = withoutDllEnding(name);
  const std::size_t dash = stem.rfind('-');
  if (dash != std::string_view::npos && dash != 0 && isDigits(stem.substr(dash + 1))) {
    return {"lib" + std::string(stem.substr(0, dash)) + ".so." + std::string(stem.substr(dash + 1))};
  }
  return {"lib" + std::string(stem) + ".so", std::string(stem) + ".so"};
}

// ---- Loading ------------------------------------------------------------------------------------------

struct Unload {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, Unload>;

// Logs why a library does not load, once per process: the same libraries are requested again for every track
// opened.
void warn(const std::string& reason) {
  static std::mutex& lock = *new std::mutex;
  static std::set<std::string>& reported = *new std::set<std::string>;
  {
    const std::lock_guard guard(lock);
    if (!reported.insert(reason).second) return;
  }
  ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlhost): %s\n", reason.c_str());
}

std::string lastReason() {
  const char* const reason = dlerror();
  return reason == nullptr ? "" : reason;
}

bool isLoaded(const std::string& name) {
  return Library(dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD)) != nullptr;
}

// Loads one file, after its dependencies that are in the same directory: it then binds to those, as on
// Windows. The dynamic loader alone would use only its search path. `seen`: the files being loaded.
Library loadFile(const std::string& path, std::vector<std::string>& seen) {
  std::error_code missing;
  if (!std::filesystem::is_regular_file(path, missing)) return nullptr;
  seen.push_back(path);
  const vlhost::ElfFile file = vlhost::readElfFile(path);
  if (!file.complete) {
    warn(path + ": the file is truncated");
    return nullptr;
  }
  std::vector<Library> neighbours;
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  for (const std::string& name : file.needed) {
    const std::string neighbour = folder + name;
    const bool isPath = name.find('/') != std::string::npos;
    if (isPath || isLoaded(name) || std::find(seen.begin(), seen.end(), neighbour) != seen.end()) continue;
    neighbours.push_back(loadFile(neighbour, seen));
  }
  Library library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library == nullptr) warn(lastReason());
  return library;
}

// Loads a bare name along the dynamic loader's search path. Not finding it there is not logged.
Library loadFromSearchPath(const std::string& name) {
  Library library(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library != nullptr) return library;
  const std::string reason = lastReason();
  if (!reason.starts_with(name + ':')) warn(reason);
  return nullptr;
}

Library load(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  const std::string folder = path.substr(0, path.rfind('/') + 1);  // npos + 1 is 0
  const std::string name = path.substr(folder.size());
  if (name.empty() || path.find(':') == 1) return nullptr;  // this system has no drives

  const std::vector<std::string> names = nativeNames(name);
  const bool absolute = folder.starts_with('/');
  for (const std::string& place : absolute ? std::vector<std::string>{""} : hostFolders()) {
    const std::string start = place + folder;
    for (const std::string& file : names) {
      std::vector<std::string> seen;
      if (Library library = loadFile(std::string(start).append(file), seen)) return library;
    }
  }
  if (!folder.empty()) return nullptr;
  for (const std::string& file : names) {
    if (Library library = loadFromSearchPath(file)) return library;
  }
  return nullptr;
}

}  // namespace

void* vlOSLoadLibrary(const char* path, std::uint32_t /*flags*/) {
  void* library = nullptr;
  try {
    if (path != nullptr) library = load(path).release();
  } catch (const std::bad_alloc&) {
    library = nullptr;
  }
  if (library == nullptr) vlhost::setLastError(ENOENT);
  return library;
}

void* vlOSGetProcAddress(void* library, const char* name) {
  return library == nullptr || name == nullptr ? nullptr : dlsym(library, name);
}

std::int32_t vlOSFreeLibrary(void* library) {
  return library != nullptr && dlclose(library) == 0 ? 1 : 0;
}
