#include "tool/package/track_choice.h"

#include <optional>

#include "mp4box/boxes/hdlr.h"

namespace fmp4 {

namespace {

using Warn = std::function<void(const std::string&)>;

void chooseTrack(SampleSource& source, std::uint32_t handler, const std::string& kind,
                 const std::optional<std::uint32_t>& trackId, const Warn& warn) {
  if (trackId) return source.choose(handler, *trackId);
  std::string ids;
  std::size_t count = 0;
  for (const SourceTrack& track : source.tracks()) {
    if (track.handler != handler) continue;
    ids += (count++ == 0 ? "" : ", ") + std::to_string(track.trackId);
  }
  if (count > 1)
    warn("the source has " + std::to_string(count) + " " + kind + " tracks (" + ids +
         "); the first is recorded, --" + kind + "-track N takes another");
}

}  // namespace

void chooseTracks(SampleSource& source, const PackageOptions& options, const Warn& warn) {
  chooseTrack(source, mp4::kVideoHandler, "video", options.videoTrack, warn);
  if (!options.noAudio) chooseTrack(source, mp4::kAudioHandler, "audio", options.audioTrack, warn);
}

}  // namespace fmp4
