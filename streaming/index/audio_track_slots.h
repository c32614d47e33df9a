// How many audio tracks of a file are read: its first ones.
#pragma once

#include <cstddef>

namespace fmp4 {

inline constexpr std::size_t kAudioTrackSlots = 64;

}  // namespace fmp4
