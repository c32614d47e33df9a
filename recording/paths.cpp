#include "recording/paths.h"

#include "vlutil.h"

std::string WithExtension(const std::string& path, const char* extension) {
  char result[VL_MAX_PATH];
  result[path.copy(result, sizeof result - 1)] = '\0';
  return ChangeFileExtension(result, sizeof result, extension) == VL_OK ? result : std::string();
}

std::string AudioPlaylistPath(const std::string& audio) {
  char path[VL_MAX_PATH], drive[VL_MAX_PATH], folder[VL_MAX_PATH], name[VL_MAX_PATH];
  vlOSSplitPath(audio.c_str(), drive, folder, name, nullptr);
  vlOSMakePath(path, sizeof path, drive, folder, (std::string(name) + "A").c_str(), ".m3u8");
  return path;
}
