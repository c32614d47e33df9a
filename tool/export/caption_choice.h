// Which captions of a file are written.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "captions/caption_cues.h"

namespace fmp4 {

// The channel that was asked for, or CC1 if there are any CEA-608 captions, else service 1. Throws UserError
// with those that have captions where it has none. `file` is for messages.
captions::CaptionChannel chosenChannel(const std::optional<captions::CaptionChannel>& asked,
                                       const std::set<captions::CaptionChannel>& withCaptions,
                                       const std::string& file);

}  // namespace fmp4
