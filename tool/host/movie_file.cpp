#include "tool/host/movie_file.h"

#include <filesystem>

#include "base/letter_case.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/stsz.h"
#include "os/path_name.h"
#include "streaming/lists/file_set.h"

namespace fmp4 {

MovieFile::MovieFile(const std::string& path) {
  const VLHANDLE handle = stream_.open(path.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) {
    openError_ = {static_cast<int>(vlOSGetLastError()), std::system_category()};
    return;
  }
  file_ = Mp4ReadRoot(stream_, false);
  if (!file_) throw std::bad_alloc();
}

MovieSamples MovieFile::movieSamples() {
  MovieSamples samples;
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(movie(), box_type::kTrak, i); ++i) {
    const auto* handler = Mp4PayloadOf<mp4::HandlerBox>(Mp4BoxGet(nullptr, trak, true, "mdia/hdlr"));
    const auto* sizes =
        Mp4PayloadOf<mp4::SampleSizeBox>(Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsz"));
    if (!handler || !sizes) continue;
    if (handler->handlerType == mp4::kVideoHandler && samples.frames == 0)
      samples.frames = sizes->sampleCount;
    if (handler->handlerType == mp4::kAudioHandler && samples.audioSamples == 0)
      samples.audioSamples = sizes->sampleCount;
  }
  return samples;
}

namespace {

// Whether the files are there that belong to a media file or a manifest of this name.
bool isAmongItsFiles(const std::string& name) {
  FileSet files = findFileSet(name.c_str(), isAudioName(name));
  const auto exists = [](const std::string& file) {
    return !file.empty() && vlOSFileExists(file.c_str()) != 0;
  };
  if (!exists(files.manifest)) return false;
  LastManifest last;
  loadManifest(files, last);
  return exists(files.video) || exists(files.audio);
}

}  // namespace

std::string linkFollowed(const std::string& name) {
  std::error_code error;
  const std::filesystem::path path = vlPath(name);
  if (!std::filesystem::is_symlink(path, error) || isAmongItsFiles(name)) return name;
  const std::string target = vlName(std::filesystem::canonical(path, error));
  return !error && isAmongItsFiles(target) ? target : name;
}

std::string recordedAs(const std::string& name) {
  if (!endsIgnoringCase(name, ".mp4") || vlOSFileExists(name.c_str()) != 0) return linkFollowed(name);
  const std::string media = name.substr(0, name.size() - 4) + ".m4v";
  return vlOSFileExists(media.c_str()) != 0 ? media : name;
}

OpenedFiles openedFiles(const std::string& given) {
  const std::string name = recordedAs(given);
  const bool audioOnly = isAudioName(name);
  FileSet files = findFileSet(name.c_str(), audioOnly);
  LastManifest last;
  loadManifest(files, last);
  if (audioOnly || files.video.empty()) return {files.audio, {}};
  return {files.video, files.audio};
}

bool isAudioName(const std::string& name) {
  return endsIgnoringCase(name, ".m4a") || endsIgnoringCase(name, ".isma");
}

}  // namespace fmp4
