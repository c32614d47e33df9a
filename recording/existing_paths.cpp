#include "recording/existing_paths.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>

#include "base/user_error.h"
#include "os/path_name.h"
#include "recording/extensions.h"
#include "recording/paths.h"
#include "streaming/lists/manifest_reader.h"
#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

using Path = std::filesystem::path;

bool isFile(const Path& path) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(path, ignored);
}

bool contains(const Path& path, const char* part) {
  return vlName(path).find(part) != std::string::npos;
}

std::string with(Path path, const char* extension) {
  return vlName(path.replace_extension(extension));
}

std::string audioPlaylistOf(const Path& audio) {
  Path path = audio;
  path.replace_filename((audio.stem() += extension::kAudioPlaylistMark) += extension::kPlaylist);
  return vlName(path);
}

// The file of this name beside a manifest or playlist, if the reference can only mean that.
std::optional<Path> fileBeside(const Path& list, const std::string& mediaName) {
  const Path name = vlPath(mediaName);
  const bool plain = !mediaName.empty() && name.filename() == name && mediaName != "." && mediaName != "..";
  if (!plain) return std::nullopt;
  const Path path = Path(list).replace_filename(name);
  return isFile(path) ? std::optional(path) : std::nullopt;
}

// The media file that a reference leads to. References with the bare name are accepted too.
std::optional<Path> beside(const Path& list, const std::string& reference) {
  const auto file = fileBeside(list, nameOfUri(reference));
  return file ? file : fileBeside(list, reference);
}

std::optional<Path> mediaInManifest(const Path& manifest) {
  const auto read = readManifestFile(vlName(manifest).c_str());
  return read ? beside(manifest, read->video.baseUrl) : std::nullopt;
}

// The URI in the map of a playlist.
std::optional<Path> mediaInPlaylist(const Path& playlist) {
  constexpr std::string_view kMap = "#EXT-X-MAP:URI=\"";
  std::ifstream file(playlist);
  constexpr int kHeaderLines = 64;
  std::string line;
  for (int i = 0; i < kHeaderLines && std::getline(file, line); ++i) {
    if (line.starts_with(kMap))
      return beside(playlist, line.substr(kMap.size(), line.find('"', kMap.size()) - kMap.size()));
  }
  return std::nullopt;
}

// The media file that a manifest or playlist of this name belongs to.
std::optional<Path> mediaByName(const Path& list) {
  std::string stem = vlName(list.stem());
  constexpr std::string_view kMaster = ".master";
  if (stem.ends_with(kMaster)) stem.resize(stem.size() - kMaster.size());
  std::array stems = {stem, std::string()};
  constexpr std::string_view kAudioMark = extension::kAudioPlaylistMark;
  if (stem.ends_with(kAudioMark)) stems[1] = stem.substr(0, stem.size() - kAudioMark.size());
  for (const std::string& candidate : stems) {
    for (const char* ending : {extension::kVideo, ".ismv", ".mp4", extension::kAudio, ".isma"}) {
      const Path path = Path(list).replace_filename(vlPath(candidate + ending));
      if (!candidate.empty() && isFile(path)) return path;
    }
  }
  return std::nullopt;
}

Path findMedia(const Path& name) {
  const Path ending = name.extension();
  std::optional<Path> media;
  if (ending == extension::kPlaylist) {
    media = mediaInPlaylist(name);
    if (!media) media = mediaByName(name);
  } else if (ending == extension::kManifest || ending == extension::kSmoothManifest) {
    media = mediaInManifest(name);
    if (!media) media = mediaByName(name);
  } else if (isFile(name)) {
    media = name;
  } else if (contains(name, ".mp4") && isFile(with(name, extension::kVideo))) {
    media = with(name, extension::kVideo);  // recorded under that name
  } else if (ending == extension::kAudio && isFile(with(name, extension::kVideo))) {
    media = with(name, extension::kVideo);  // whose audio is lost
  }
  if (!media)
    throw UserError("'" + vlName(name) + "' belongs to no recording: it has no media file; check the name");
  // An audio file beside a video file is part of its recording.
  if (media->extension() == extension::kAudio && isFile(with(*media, extension::kVideo)))
    return with(*media, extension::kVideo);
  return *media;
}

std::string manifestOf(const Path& video) {
  std::string mpd = with(video, extension::kManifest), xml = with(video, extension::kSmoothManifest);
  // Recording looks for the text in the whole path, which may have been another one then.
  const bool smooth = contains(video, extension::kSmooth);
  if (smooth && !isFile(xml) && isFile(mpd)) return mpd;
  return smooth ? xml : mpd;
}

}  // namespace

std::string fileNameOf(const std::string& path) {
  return vlName(vlPath(path).filename());
}

RecordingPaths pathsOfAudioAlone(const std::string& audio) {
  RecordingPaths paths;
  paths.audio = audio;
  paths.audioPlaylist = audioPlaylistOf(vlPath(audio));
  return paths;
}

RecordingPaths findRecordingPaths(const std::string& name) {
  const Path media = findMedia(vlPath(name));
  if (media.extension() == extension::kAudio || media.extension() == ".isma")
    return pathsOfAudioAlone(vlName(media));
  RecordingPaths paths;
  paths.video = vlName(media);
  paths.manifest = manifestOf(media);
  paths.videoPlaylist = with(media, extension::kPlaylist);
  paths.masterPlaylist = with(media, extension::kMasterPlaylist);
  if (hasSeparateAudio(paths.video)) {
    paths.audio = with(media, extension::kAudio);
    paths.audioPlaylist = audioPlaylistOf(vlPath(paths.audio));
  }
  return paths;
}

}  // namespace fmp4
