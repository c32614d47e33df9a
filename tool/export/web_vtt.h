// WebVTT files (W3C).
#pragma once

#include <span>
#include <string>

#include "base/exact_time.h"
#include "captions/cue_builder.h"

namespace fmp4 {

// A cue for each block of rows, at its place on the screen, with the classes that the standard names for
// colours.
std::string webVttText(std::span<const captions::Cue> cues, const FrameRate& rate);

}  // namespace fmp4
