#include "tool/export/caption_choice.h"

#include "base/user_error.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;

std::string listed(const std::set<CaptionChannel>& channels) {
  std::string text;
  for (const CaptionChannel& channel : channels) text += (text.empty() ? "" : ", ") + channel.name();
  return text;
}

std::string optionFor(const CaptionChannel& channel) {
  return channel.standard == CaptionChannel::Standard::Cea608 ? "--channel " + channel.name()
                                                              : "--service " + std::to_string(channel.number);
}

}  // namespace

CaptionChannel chosenChannel(const std::optional<CaptionChannel>& asked,
                             const std::set<CaptionChannel>& withCaptions, const std::string& file) {
  if (withCaptions.empty())
    throw UserError("nothing is displayed by the captions of '" + file +
                    "' in these frames; 'fmp4 frames' shows their bytes");
  const CaptionChannel channel = asked.value_or(CaptionChannel{withCaptions.begin()->standard, 1});
  if (!withCaptions.contains(channel))
    throw UserError(channel.name() + " of '" + file + "' has no captions; those that have any: " +
                    listed(withCaptions) + " (" + optionFor(*withCaptions.begin()) + ")");
  return channel;
}

}  // namespace fmp4
