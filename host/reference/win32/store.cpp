// The location of the configuration store.
#include <windows.h>

#include <string>

#include "host/reference/system.h"
#include "os/win32/wide.h"

namespace vlhost {

namespace {

std::string environment(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return fmp4::os::narrow(value);
}

}  // namespace

std::string storePath() {
  if (std::string path = environment(L"VLHOST_CONFIG"); !path.empty()) return path;
  const std::string folder = environment(L"APPDATA");
  return folder.empty() ? std::string() : folder + "\\vlhost\\vlhost.conf";
}

bool makeFolders(const std::string& path) {
  const std::wstring file = fmp4::os::nativePath(path.c_str());
  for (std::size_t end = file.find(L'\\'); end != file.npos; end = file.find(L'\\', end + 1)) {
    const std::wstring folder = file.substr(0, end);
    if (CreateDirectoryW(folder.c_str(), nullptr)) continue;
    const DWORD error = GetLastError();
    // The start of a path names a drive or a share, which exists or cannot be created.
    const DWORD attributes = GetFileAttributesW((folder + L'\\').c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES || error == ERROR_ALREADY_EXISTS || end < 4) continue;
    setLastError(error);
    return false;
  }
  return true;
}

}  // namespace vlhost
