// What the recordings of video and of audio have in common.
#pragma once

#include "mp4box/fragment.h"
#include "mp4box/movie.h"
#include "recording/write/recorded_file.h"
#include "recording/write/settings.h"

namespace fmp4 {

// The decoder configuration's object type byte: MPEG-4 audio.
inline constexpr std::uint8_t kAudioObjectType = 0x40;

// Whether one fragment can hold this many bytes in this many samples: a reference has 31 bits for its size,
// and its data offsets are signed 32-bit numbers.
constexpr bool fitsFragment(std::uint64_t bytes, std::uint64_t samples) {
  constexpr std::uint64_t kBoxBytes = 4096;       // more than the boxes take without samples
  constexpr std::uint64_t kBoxBytesASample = 16;  // maximum that they take for each sample
  return bytes + samples * kBoxBytesASample + kBoxBytes <= RecordedFile::kMaxFragmentBytes;
}

// An audio track with its decoder configuration.
mp4::Track setUpAudioTrack(const AudioSettings& audio);

// Version 1, with 64-bit fields, if 32 bits cannot hold the value.
void setDecodeTime(mp4::TrackFragment& track, std::uint64_t ticks);

}  // namespace fmp4
