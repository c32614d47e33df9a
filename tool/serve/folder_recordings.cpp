#include "tool/serve/folder_recordings.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

#include "os/path_name.h"
#include "recording/open_playlist.h"
#include "tool/serve/list_files.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

bool isManifest(const fs::path& path) {
  return path.extension() == ".mpd" || (path.extension() == ".xml" && isXmlManifest(path));
}

// The base names of manifests and of media playlists. The name of an audio playlist is that of its recording
// followed by the letter A.
std::set<std::string> namesIn(const fs::path& folder) {
  std::set<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const fs::path& path = entry->path();
    if (isManifest(path) || (path.extension() == ".m3u8" && !vlName(path).ends_with(kMasterExtension)))
      names.insert(vlName(path.stem()));
  }
  for (auto name = names.begin(); name != names.end();) {
    const bool audio = name->ends_with('A') && names.contains(name->substr(0, name->size() - 1)) &&
                       !fs::exists(folder / vlPath(*name + ".m4v"), error);
    name = audio ? names.erase(name) : std::next(name);
  }
  return names;
}

FolderRecording describe(const fs::path& folder, const std::string& name) {
  std::error_code error;
  const auto existing = [&](const std::string& file) {
    return fs::is_regular_file(folder / vlPath(file), error) ? file : std::string();
  };
  FolderRecording recording;
  recording.name = name;
  recording.manifest = existing(name + ".mpd");
  if (recording.manifest.empty() && isManifest(folder / vlPath(name + ".xml")))
    recording.manifest = existing(name + ".xml");
  const std::string video = existing(name + ".m3u8");
  recording.playlist = existing(name + std::string(kMasterExtension));
  if (recording.playlist.empty()) recording.playlist = video;
  recording.audioPlaylist = existing(name + "A.m3u8");
  recording.inProgress = !video.empty() && isOpenPlaylist(folder / vlPath(video));
  for (const char* extension : {".m4v", ".m4a", ".ismv", ".isma", ".mp4"}) {
    const auto size = fs::file_size(folder / vlPath(name + extension), error);
    if (!error) recording.bytes += size;
  }
  return recording;
}

}  // namespace

std::vector<FolderRecording> listRecordings(const fs::path& folder) {
  std::vector<FolderRecording> recordings;
  for (const std::string& name : namesIn(folder)) recordings.push_back(describe(folder, name));
  return recordings;
}

std::string recordingsJson(const std::vector<FolderRecording>& recordings) {
  nlohmann::json list = nlohmann::json::array();
  for (const FolderRecording& recording : recordings)
    list.push_back({{"name", recording.name},
                    {"manifest", recording.manifest},
                    {"playlist", recording.playlist},
                    {"audioPlaylist", recording.audioPlaylist},
                    {"bytes", recording.bytes},
                    {"inProgress", recording.inProgress}});
  return list.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

}  // namespace fmp4
