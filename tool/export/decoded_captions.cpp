#include "tool/export/decoded_captions.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "base/user_error.h"
#include "tool/export/caption_choice.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;
using captions::Cue;

FrameRate rateOf(const CaptionFrames& frames, const std::string& name) {
  if (!frames.rate().known())
    throw UserError("'" + name +
                    "' does not say how long its frames last; --captions OUT.json needs no times");
  return frames.rate();
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
  CaptionFrames frames(file, request.streams.input);
  const FrameRange range = frames.range(request.streams.selection);
  const FrameRate rate = rateOf(frames, request.streams.input);
  captions::CaptionCues decoder(rate.value());
  const std::uint32_t lead = captionLead(rate);
  Progress progress("exporting captions", std::min(lead, range.from) + range.count);
  frames.read(range, lead, [&, done = 0u](FrameCaptions frame) mutable {
    progress.show(++done);
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
