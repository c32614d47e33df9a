#include "tool/host/frame_selection.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>

#include "base/user_error.h"

namespace fmp4 {

namespace {

FramePlace parsed(const std::string& name, const std::string& text) {
  if (const auto place = FramePlace::parse(text)) return *place;
  throw CLI::ValidationError(name,
                             "'" + text +
                                 "' is no place in a file; give a frame number from 0 on (1234), seconds "
                                 "(51.36 or 90s), h:mm:ss.mmm, or a timecode (hh:mm:ss:ff)");
}

FramePlace parsedLength(const std::string& name, const std::string& text) {
  const FramePlace place = parsed(name, text);
  if (place.isZero()) throw CLI::ValidationError(name, "give 1 frame or more, or a duration");
  return place;
}

}  // namespace

FrameRange FrameSelection::range(const FrameRate& rate) const {
  constexpr std::uint32_t kAll = std::numeric_limits<std::uint32_t>::max();
  const std::uint32_t first = from.frame(rate);
  if (to) {
    const std::uint32_t end = to->frame(rate);
    if (end <= first)
      throw UserError("no frame is selected: --to is frame " + std::to_string(end) +
                      ", which is not taken, and --from frame " + std::to_string(first));
    return {first, end - first};
  }
  return {first, count ? std::max(count->frames(rate), 1u) : kAll - first};
}

void addFrameSelection(CLI::App& command, FrameSelection& selection) {
  const auto add = [&command](const std::string& name, auto take, const std::string& help) {
    return command.add_option_function<std::string>(name, take, help)->type_name("PLACE");
  };
  add(
      "--from", [&selection](const std::string& text) { selection.from = parsed("--from", text); },
      "The first frame, counted from 0: its number, seconds (12.5s), h:mm:ss.mmm or a timecode "
      "(hh:mm:ss:ff)");
  CLI::Option* const to = add(
      "--to", [&selection](const std::string& text) { selection.to = parsed("--to", text); },
      "The frame to end before, given likewise");
  add(
      "--count", [&selection](const std::string& text) { selection.count = parsedLength("--count", text); },
      "How many frames, or for how long; by default all that follow")
      ->excludes(to);
}

}  // namespace fmp4
