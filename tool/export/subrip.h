// SubRip files (SRT).
#pragma once

#include <span>
#include <string>

#include "base/exact_time.h"
#include "captions/cue_builder.h"

namespace fmp4 {

// Numbered texts with italics, underline and colours as HTML elements; positions are lost.
std::string subRipText(std::span<const captions::Cue> cues, const FrameRate& rate);

}  // namespace fmp4
