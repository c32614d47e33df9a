#include "tool/source/sample_source.h"

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"

namespace fmp4 {

namespace {

std::string listed(const std::vector<SourceTrack>& tracks) {
  std::string text;
  for (const SourceTrack& track : tracks)
    text += (text.empty() ? "" : ", ") + std::to_string(track.trackId) + " (" + fourCcText(track.handler) +
            ", " + fourCcText(track.codec) + ")";
  return text;
}

}  // namespace

void SampleSource::choose(std::uint32_t handler, std::uint32_t trackId) {
  for (const SourceTrack& track : tracks()) {
    if (track.handler != handler || track.trackId != trackId) continue;
    chosen_[handler] = trackId;
    return;
  }
  throw UserError("'" + path() + "' has no " + (handler == mp4::kVideoHandler ? "video" : "audio") +
                  " track " + std::to_string(trackId) + "; its tracks are " + listed(tracks()));
}

SourceTrack* SampleSource::trackOfHandler(std::uint32_t handler) {
  const auto chosen = chosen_.find(handler);
  return firstTrack([&](const SourceTrack& track) {
    return track.handler == handler && (chosen == chosen_.end() || track.trackId == chosen->second);
  });
}

}  // namespace fmp4
