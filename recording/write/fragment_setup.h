// What the recordings of video and of sound have in common.
#pragma once

#include "mp4box/fragment.h"
#include "mp4box/movie.h"
#include "recording/write/recorded_file.h"
#include "recording/write/settings.h"

// The decoder configuration's object type byte: MPEG-4 audio.
inline constexpr std::uint8_t kAudioObjectType = 0x40;

// Whether one fragment can hold so many bytes in so many samples: a reference says its size in 31 bits, and
// its data offsets are 32 bits with a sign.
constexpr bool fitsFragment(std::uint64_t bytes, std::uint64_t samples) {
  constexpr std::uint64_t kBoxBytes = 4096;       // more than the boxes take but for
  constexpr std::uint64_t kBoxBytesASample = 16;  // what they take a sample, at most
  return bytes + samples * kBoxBytesASample + kBoxBytes <= RecordedFile::kMaxFragmentBytes;
}

// A sound track with its decoder configuration.
mp4::Track SetUpAudioTrack(const AudioSettings& sound);

// In 64 bits where 32 do not hold it.
void SetDecodeTime(mp4::TrackFragment& track, std::uint64_t ticks);
