// Shared libraries, and their Windows names in the system's own form.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "system.h"
#include "vlutil.h"

namespace {

// The folder of the host library, with its separator; empty when the loader does not know it.
const std::string& hostFolder() {
  static const std::string& folder = *[] {
    Dl_info info = {};
    std::string path;
    if (dladdr(reinterpret_cast<const void*>(&vlOSLoadLibrary), &info) != 0 && info.dli_fname != nullptr) {
      const std::unique_ptr<char, decltype(&std::free)> real(realpath(info.dli_fname, nullptr), &std::free);
      path = real == nullptr ? info.dli_fname : real.get();
    }
    path.resize(path.rfind('/') + 1);
    return new std::string(std::move(path));
  }();
  return folder;
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// "libNAME.so", "NAME.so.57": a name that needs no translation.
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

// The file names that a library's name stands for, in the order in which they are tried.
std::vector<std::string> nativeNames(std::string_view name) {
  if (isNativeName(name)) return {std::string(name)};
  const std::string_view stem = withoutDllEnding(name);
  const std::size_t dash = stem.rfind('-');
  if (dash != std::string_view::npos && dash != 0 && isDigits(stem.substr(dash + 1))) {
    return {"lib" + std::string(stem.substr(0, dash)) + ".so." + std::string(stem.substr(dash + 1))};
  }
  return {"lib" + std::string(stem) + ".so", std::string(stem) + ".so"};
}

// Loads one file, or a bare name along the loader's search path. A file that is there and does not load is
// worth a line: nothing else tells why.
void* loadFile(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr && path.find('/') != std::string::npos && access(path.c_str(), F_OK) == 0) {
    const char* reason = dlerror();
    ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlhost): %s\n", reason == nullptr ? path.c_str() : reason);
  }
  return library;
}

void* load(std::string path) {
  const std::size_t slash = path.find_last_of("/\\");
  const std::string name = path.substr(slash + 1);          // npos + 1 is 0
  if (name.empty() || path.find(':') == 1) return nullptr;  // no drives here
  const bool hasNativeFolder = path.find('/') != std::string::npos && path.find('\\') == std::string::npos;
  if (hasNativeFolder && isNativeName(name)) return loadFile(path);
  std::replace(path.begin(), path.end(), '\\', '/');
  const std::string folder = path.substr(0, slash + 1);

  const std::vector<std::string> names = nativeNames(name);
  std::vector<std::string> places;
  if (!folder.starts_with('/') && !hostFolder().empty()) places.push_back(hostFolder() + folder);
  places.push_back(folder);  // without a folder, the loader's search path
  for (const std::string& place : places) {
    for (const std::string& file : names) {
      if (void* library = loadFile(place + file)) return library;
    }
  }
  return nullptr;
}

}  // namespace

void* vlOSLoadLibrary(const char* path, std::uint32_t /*flags*/) {
  void* library = nullptr;
  try {
    if (path != nullptr) library = load(path);
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
