// The location of the configuration store.
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "host/reference/system.h"

namespace vlhost {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

}  // namespace

std::string storePath() {
  if (std::string path = environment("VLHOST_CONFIG"); !path.empty()) return path;
  constexpr const char* kStore = "/vlhost/vlhost.conf";
  // A relative path must be ignored (XDG Base Directory Specification).
  if (const std::string folder = environment("XDG_CONFIG_HOME"); folder.starts_with('/'))
    return folder + kStore;
  const std::string home = environment("HOME");
  return home.empty() ? std::string() : home + "/.config" + kStore;
}

bool makeFolders(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    if (mkdir(path.substr(0, slash).c_str(), 0700) == 0 || errno == EEXIST) continue;
    setLastError(static_cast<std::uint32_t>(errno));
    return false;
  }
  return true;
}

}  // namespace vlhost
