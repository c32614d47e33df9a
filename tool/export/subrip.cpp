#include "tool/export/subrip.h"

#include "base/text.h"
#include "tool/export/caption_times.h"
#include "tool/export/styled_text.h"

namespace fmp4 {

namespace {

// Its foreground, where that is not white. SubRip has no backgrounds.
std::string fontElement(const captions::TextStyle& style) {
  if (style.foreground == captions::kWhite) return {};
  std::uint8_t levels[] = {style.foreground.red, style.foreground.green, style.foreground.blue};
  for (std::uint8_t& level : levels) level = static_cast<std::uint8_t>(level * 0x55);
  return "<font color=\"#" + hexText(levels) + "\">";
}

}  // namespace

std::string subRipText(std::span<const captions::Cue> cues, const FrameRate& rate) {
  const TextMarkup markup = {fontElement, "</font>", false};
  std::string text;
  for (std::size_t i = 0; i < cues.size(); ++i) {
    text += std::to_string(i + 1) + '\n' + clockText(static_cast<std::uint64_t>(cues[i].first), rate, ',') +
            " --> " + clockText(static_cast<std::uint64_t>(cues[i].end), rate, ',') + '\n';
    for (const captions::TextBlock& block : cues[i].caption.blocks)
      for (const captions::TextRow& row : block.rows) text += markedText(row, markup) + '\n';
    text += '\n';
  }
  return text;
}

}  // namespace fmp4
