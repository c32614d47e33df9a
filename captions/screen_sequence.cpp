#include "captions/screen_sequence.h"

#include <algorithm>
#include <utility>

namespace fmp4::captions {

void ScreenSequence::add(std::int64_t frame, std::span<const std::uint8_t> pair,
                         std::span<const std::uint8_t> packet) {
  decoders_.add(frame, pair, packet,
                {[this, frame](const CaptionSource& source, const Cea608Decoder& decoder) {
                   note(source, decoder);
                   if (source.channel == channel_) show(shown_[source], frame, decoder.captionScreen());
                 },
                 [this, frame](const CaptionSource& source, const Cea708Service& service) {
                   note(source, service);
                   if (source.channel == channel_) show(shown_[source], frame, service.screen(shape_));
                 }});
}

// Notes a source whose text can be seen.
template <class Decoder>
void ScreenSequence::note(const CaptionSource& source, const Decoder& decoder) {
  if (!seen_.contains(source) && !decoder.caption().empty()) seen_.insert(source);
}

// A screen takes the place of those before the range, and of one that no frame has displayed.
void ScreenSequence::show(std::vector<ShownScreen>& shown, std::int64_t frame, CaptionScreen screen) const {
  const std::int64_t first = std::max(frame, from_);
  if (!shown.empty() && shown.back().first == first) shown.pop_back();
  if (!shown.empty() && shown.back().screen == screen) return;
  if (!shown.empty()) shown.back().end = first;
  shown.push_back({first, first, std::move(screen)});
}

std::vector<ShownScreen> ScreenSequence::finish(std::int64_t end) {
  for (auto& [source, shown] : shown_) {
    if (!decoders_.isTaken(source)) continue;
    shown.back().end = end;
    std::erase_if(shown,
                  [](const ShownScreen& each) { return each.screen.empty() || each.end <= each.first; });
    return std::move(shown);
  }
  return {};
}

std::set<CaptionChannel> ScreenSequence::channels() const {
  std::set<CaptionChannel> channels;
  for (const CaptionSource& source : seen_)
    if (decoders_.isTaken(source)) channels.insert(source.channel);
  return channels;
}

}  // namespace fmp4::captions
