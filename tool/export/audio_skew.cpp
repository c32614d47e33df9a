#include "tool/export/audio_skew.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "os/path_name.h"
#include "recording/existing_paths.h"
#include "tool/package/paced_times.h"
#include "tool/source/fragment_stream.h"

namespace fmp4 {

namespace {

// A media file, read as far as needed.
class Beginning {
 public:
  explicit Beginning(const std::string& path)
      : file_(vlPath(path), std::ios::binary),
        stream_(path, {[this](std::span<std::uint8_t> bytes) {
                         file_.read(reinterpret_cast<char*>(bytes.data()),
                                    static_cast<std::streamsize>(bytes.size()));
                         return static_cast<std::size_t>(file_.gcount());
                       },
                       [] { return true; }}) {}
  // The first track of a kind, with its first samples; null when there is none.
  const SourceTrack* track(std::uint32_t handler) {
    constexpr int kMostFragments = 16;
    const SourceTrack* const found = stream_.trackOfHandler(handler);
    for (int i = 0; found && found->samples.empty() && i < kMostFragments && stream_.readFragment(); ++i) {
    }
    return found && !found->samples.empty() && found->timescale != 0 ? found : nullptr;
  }

 private:
  std::ifstream file_;
  FragmentStream stream_;
};

// The files with the video and, if separate, the audio.
RecordingPaths mediaOf(const std::string& file) {
  RecordingPaths paths;
  try {
    paths = findRecordingPaths(file);
  } catch (const UserError&) {
  }
  if (paths.video.empty()) paths.video = file;
  return paths;
}

// When the first access unit plays, in seconds: the plug-in's position 0.
double audioStart(Beginning& media, const RecordingPaths& paths) {
  if (const SourceTrack* const audio = media.track(mp4::kAudioHandler))
    return audio->present(audio->samples.front());
  if (paths.audio.empty()) return 0;
  Beginning apart(paths.audio);
  const SourceTrack* const audio = apart.track(mp4::kAudioHandler);
  return audio ? audio->present(audio->samples.front()) : 0;
}

double measuredSkew(const std::string& file) {
  const RecordingPaths paths = mediaOf(file);
  Beginning media(paths.video);
  const SourceTrack* const video = media.track(mp4::kVideoHandler);
  if (!video) return 0;
  const PacedTimes times(*video, PackagePlan::asRead(*video));
  return times.firstFrame() - times.recorded(audioStart(media, paths)).value_or(0);
}

}  // namespace

double audioSkew(const std::string& file) try {
  // More indicates damage.
  constexpr double kMaxSeconds = 3600;
  const double skew = measuredSkew(file);
  return std::abs(skew) <= kMaxSeconds ? skew : 0;
} catch (const UserError&) {
  return 0;
}

}  // namespace fmp4
