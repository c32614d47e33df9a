#include "recording/paths.h"

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
  return contains(name, ".mp4") ? withExtension(name, ".m4v") : name;
}

std::string manifestPath(const std::string& name) {
  return withExtension(name, contains(name, ".ism") ? ".xml" : ".mpd");
}

bool hasSeparateAudio(const std::string& video) {
  return contains(video, ".m4v");
}

std::string audioPath(const std::string& video) {
  return withExtension(video, ".m4a");
}

std::string videoPlaylistPath(const std::string& video) {
  return withExtension(video, ".m3u8");
}

std::string masterPlaylistPath(const std::string& video) {
  return withExtension(video, ".master.m3u8");
}

std::string audioPlaylistPath(const std::string& audio) {
  char path[VL_MAX_PATH], drive[VL_MAX_PATH], folder[VL_MAX_PATH], name[VL_MAX_PATH];
  vlOSSplitPath(audio.c_str(), drive, folder, name, nullptr);
  vlOSMakePath(path, sizeof path, drive, folder, (std::string(name) + "A").c_str(), ".m3u8");
  return path;
}

}  // namespace fmp4
