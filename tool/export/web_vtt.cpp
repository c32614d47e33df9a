#include "tool/export/web_vtt.h"

#include <cmath>

#include "tool/export/caption_times.h"
#include "tool/export/styled_text.h"

namespace fmp4 {

namespace {

using captions::Alignment;
using captions::Colour;

// WebVTT, 5.1: the names of the classes by the colours' bits.
std::string colourName(Colour colour) {
  static constexpr const char* kNames[] = {"black", "blue",    "lime",   "cyan",
                                           "red",   "magenta", "yellow", "white"};
  const Colour plain = nearestPlainColour(colour);
  return kNames[(plain.red ? 4 : 0) | (plain.green ? 2 : 0) | (plain.blue ? 1 : 0)];
}

std::string classElement(const captions::TextStyle& style) {
  std::string classes;
  if (nearestPlainColour(style.foreground) != captions::kWhite) classes += '.' + colourName(style.foreground);
  if (nearestPlainColour(style.background) != captions::kBlack)
    classes += ".bg_" + colourName(style.background);
  return classes.empty() ? classes : "<c" + classes + '>';
}

// To a hundredth of a percent.
std::string percentText(double value) {
  const auto hundredths = static_cast<unsigned>(std::lround(value * 100));
  std::string text = std::to_string(hundredths / 100);
  if (hundredths % 100 != 0) {
    const std::string digits = std::to_string(100 + hundredths % 100).substr(1);
    text += '.' + (digits[1] == '0' ? digits.substr(0, 1) : digits);
  }
  return text + '%';
}

std::string settingsOf(const captions::TextBlock& block) {
  static constexpr const char* kAnchors[] = {"line-left", "center", "line-right"};
  static constexpr const char* kAlignments[] = {"left", "center", "right"};
  const auto alignment = static_cast<std::size_t>(block.alignment);
  return "line:" + percentText(block.top) + " position:" + percentText(block.across) + ',' +
         kAnchors[alignment] + " align:" + kAlignments[alignment];
}

}  // namespace

std::string webVttText(std::span<const captions::Cue> cues, const FrameRate& rate) {
  const TextMarkup markup = {classElement, "</c>", true};
  std::string text = "WEBVTT\n\n";
  for (const captions::Cue& cue : cues) {
    const std::string times = clockText(static_cast<std::uint64_t>(cue.first), rate, '.') + " --> " +
                              clockText(static_cast<std::uint64_t>(cue.end), rate, '.');
    for (const captions::TextBlock& block : cue.caption.blocks) {
      text += times + ' ' + settingsOf(block) + '\n';
      for (const captions::TextRow& row : block.rows) text += markedText(row, markup) + '\n';
      text += '\n';
    }
  }
  return text;
}

}  // namespace fmp4
