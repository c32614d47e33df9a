#include "recording/paths.h"

#include "recording/extensions.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

bool contains(const std::string& path, const char* part) {
  return path.find(part) != std::string::npos;
}

}  // namespace

std::string withExtension(const std::string& path, const char* extension) {
  char result[VL_MAX_PATH];
  result[path.copy(result, sizeof result - 1)] = '\0';
  return ChangeFileExtension(result, sizeof result, extension) == VL_OK ? result : std::string();
}

std::string videoPath(const std::string& name) {
  return contains(name, ".mp4") ? withExtension(name, extension::kVideo) : name;
}

std::string manifestPath(const std::string& name) {
  return withExtension(
      name, contains(name, extension::kSmooth) ? extension::kSmoothManifest : extension::kManifest);
}

bool hasSeparateAudio(const std::string& video) {
  return contains(video, extension::kVideo);
}

std::string audioPath(const std::string& video) {
  return withExtension(video, extension::kAudio);
}

std::string videoPlaylistPath(const std::string& video) {
  return withExtension(video, extension::kPlaylist);
}

std::string masterPlaylistPath(const std::string& video) {
  return withExtension(video, extension::kMasterPlaylist);
}

std::string audioPlaylistPath(const std::string& audio) {
  char path[VL_MAX_PATH], drive[VL_MAX_PATH], folder[VL_MAX_PATH], name[VL_MAX_PATH];
  vlOSSplitPath(audio.c_str(), drive, folder, name, nullptr);
  vlOSMakePath(path, sizeof path, drive, folder, (std::string(name) + extension::kAudioPlaylistMark).c_str(),
               extension::kPlaylist);
  return path;
}

}  // namespace fmp4
