// Where a video description keeps the decoder's configuration.
#pragma once

#include <cstdint>
#include <span>

#include "qvr.h"

// The configuration box behind the bitmap header ("avcC", "hvcC"), its header included; empty when its size
// does not fit there. The bytes are the description's.
std::span<const std::uint8_t> codecConfiguration(const QVRVIDEO& video);
