// Where a video description holds the codec configuration.
#pragma once

#include <cstdint>
#include <span>

#include "qvr.h"

namespace fmp4 {

// The configuration box after the bitmap header ("avcC", "hvcC"), including its own header; empty when its
// size does not fit the description. The bytes are owned by the description.
std::span<const std::uint8_t> codecConfiguration(const QVRVIDEO& video);

}  // namespace fmp4
