#include "tool/export/decoded_captions.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "base/user_error.h"
#include "tool/export/caption_choice.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;
using captions::Cue;

// Seconds read before the first selected frame: what is on the screen there was sent in them.
constexpr double kLeadSeconds = 30;

FrameRate rateOf(CAMediaFile& file, const std::string& name) {
  QVRSYSTEM system{};
  file.GetFileInfo(1, &system, nullptr, nullptr, nullptr);
  if (system.rate == 0 || system.scale == 0)
    throw UserError("'" + name +
                    "' does not say how long its frames last; --captions OUT.json needs no times");
  return {system.rate, system.scale};
}

// Cues as they play in a range, from its first frame on.
std::vector<Cue> within(const std::vector<Cue>& cues, const FrameRange& range) {
  std::vector<Cue> result;
  for (Cue cue : cues) {
    cue.first = std::max<std::int64_t>(cue.first - range.from, 0);
    cue.end -= range.from;
    if (cue.end > cue.first) result.push_back(std::move(cue));
  }
  return result;
}

}  // namespace

DecodedCaptions decodeCaptions(CAMediaFile& file, const CaptionRequest& request,
                               const std::function<void(const FrameCaptions&)>& also) {
  CaptionFrames frames(file, request.streams);
  const FrameRange range = frames.range();
  const FrameRate rate = rateOf(file, request.streams.input);
  captions::CaptionCues decoder(rate.value());
  frames.read(static_cast<std::uint32_t>(std::lround(kLeadSeconds * rate.value())), [&](FrameCaptions frame) {
    decoder.add(frame.frame, frame.pair, frame.distributionPacket());
    if (frame.frame < range.from) return;
    frame.frame -= range.from;
    also(frame);
  });
  std::map<CaptionChannel, std::vector<Cue>> played;
  std::set<CaptionChannel> channels;
  for (const auto& [channel, cues] : decoder.finish(std::int64_t{range.from} + range.count))
    if (std::vector<Cue> here = within(cues, range); !here.empty()) {
      channels.insert(channel);
      played[channel] = std::move(here);
    }
  const CaptionChannel channel = chosenChannel(request.channel, channels, request.streams.input);
  return {rate, channel, std::move(played[channel])};
}

}  // namespace fmp4
