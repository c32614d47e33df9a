#include "captions/caption_cues.h"

namespace fmp4::captions {

void CaptionCues::add(std::int64_t frame, std::span<const std::uint8_t> pair,
                      std::span<const std::uint8_t> packet) {
  const auto show = [this, frame](const CaptionSource& source, const auto& decoder) {
    cues_[source].show(frame, decoder.caption());
  };
  decoders_.add(frame, pair, packet, {show, show});
}

std::map<CaptionChannel, std::vector<Cue>> CaptionCues::finish(std::int64_t end) {
  std::map<CaptionChannel, std::vector<Cue>> result;
  for (auto& [source, cues] : cues_)
    if (decoders_.isTaken(source) && !cues.empty()) result[source.channel] = cues.finish(end);
  return result;
}

}  // namespace fmp4::captions
