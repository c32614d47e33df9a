#include "recording/write/stale_files.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>

#include "mp4box/output.h"
#include "mp4box/stream.h"
#include "mp4box/write.h"
#include "os/path_name.h"
#include "recording/paths.h"
#include "recording/write/default_boxes.h"
#include "streaming/lists/manifest_reader.h"
#include "streaming/lists/playlist_text.h"
#include "streaming/lists/uri.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// The header of a playlist, which names its media, is shorter than this.
constexpr std::size_t kHeaderBytes = 4096;

std::string nameOf(const std::string& path) {
  char file[VL_MAX_PATH], extension[VL_MAX_PATH];
  vlOSSplitPath(path.c_str(), nullptr, nullptr, file, extension);
  return std::string(file) + extension;
}

bool opens(Mp4Stream& file, const std::string& path) {
  const VLHANDLE handle = file.open(path.c_str(), MP4_MODE_READ);
  return handle != VL_NO_HANDLE && handle != VL_INVALID_HANDLE;
}

// The first bytes of a file, at most `count`; empty when it cannot be read. It is read through the host,
// which accepts every name.
std::string beginningOf(const std::string& path, std::size_t count) {
  Mp4Stream file;
  if (!opens(file, path)) return {};
  std::string bytes(count, '\0');
  bytes.resize(static_cast<std::size_t>(file.read(bytes.data(), static_cast<std::int64_t>(count))));
  return bytes;
}

std::uint64_t sizeOf(const std::string& path) {
  Mp4Stream file;
  return opens(file, path) ? file.size() : 0;
}

// Whether a file was last written long after another. The files of one recording are written together.
bool isLaterThan(const std::string& path, const std::string& other) {
  constexpr std::chrono::minutes kTogether{1};
  std::error_code failed, otherFailed;
  const auto time = std::filesystem::last_write_time(vlPath(path), failed);
  const auto otherTime = std::filesystem::last_write_time(vlPath(other), otherFailed);
  return !failed && !otherFailed && time > otherTime + kTogether;
}

bool beginsWith(const std::string& path, const std::string& text) {
  return beginningOf(path, text.size()) == text;
}

// The file type box, with which every recording begins.
std::string fileType() {
  Mp4MemoryOutput out;
  mp4::FileTypeBox box = Mp4SetUpFileType();
  Mp4WriteFileType(out, box);
  return {out.bytes.begin(), out.bytes.end()};
}

bool names(const std::string& list, const std::string& text) {
  return beginningOf(list, kHeaderBytes).find(text) != std::string::npos;
}

bool lists(const std::string& playlist, const std::string& media) {
  return names(playlist, playlistMapLine(nameOf(media)));
}

// Whether the audio file beside a video file belongs to the existing recording: its manifest names both. A
// recording that was interrupted before it had a manifest is recognised by the first bytes of both files.
bool isAudioOf(const std::string& video, const std::string& manifest, const std::string& audio) {
  const std::string begin = fileType();
  // Another object may have just created it, to record into: then it holds only its file type box.
  if (sizeOf(audio) <= begin.size()) return false;
  const bool listed = vlOSFileExists(manifest.c_str());
  // Or another object is recording into it, or has done so.
  if (isLaterThan(audio, listed ? manifest : video)) return false;
  if (!listed) return beginsWith(video, begin) && beginsWith(audio, begin);
  const std::optional<Manifest> read = readManifestFile(manifest.c_str());
  return read && nameOfUri(read->audio.baseUrl) == nameOf(audio);
}

}  // namespace

std::vector<std::string> staleRecordingFiles(const std::string& video, const std::string& manifest) {
  std::vector<std::string> files = {manifest};
  const std::string playlist = videoPlaylistPath(video);
  if (lists(playlist, video)) files.push_back(playlist);
  const std::string master = masterPlaylistPath(video);
  if (names(master, std::string("\n").append(uriOfName(nameOf(playlist))))) files.push_back(master);
  const std::string audio = audioPath(video);
  if (!hasSeparateAudio(video) || audio == video) return files;
  const bool isItsAudio = isAudioOf(video, manifest, audio);
  if (isItsAudio) files.push_back(audio);
  if (isItsAudio || !vlOSFileExists(audio.c_str())) {
    if (const std::string list = staleAudioPlaylist(audio); !list.empty()) files.push_back(list);
  }
  return files;
}

std::string staleAudioPlaylist(const std::string& audio) {
  const std::string playlist = audioPlaylistPath(audio);
  return lists(playlist, audio) ? playlist : std::string();
}

void removeStaleFile(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path file = vlPath(path);
  if (std::filesystem::is_regular_file(std::filesystem::symlink_status(file, ignored)))
    std::filesystem::remove(file, ignored);
}

}  // namespace fmp4
