// Converts FFmpeg's decoded samples to interleaved 16-bit pairs.
#pragma once

#include <cstdint>

namespace fmp4 {

// The samples of one decoded frame, as its decoder describes them.
struct DecodedSamples {
  const std::uint8_t* planeA;  // the frame's first plane; all channels interleaved in non-planar formats
  const std::uint8_t* planeB;  // the frame's second plane; null if there is none
  int format;                  // an ffmpeg57::SampleFormat
  int channels;
  int frames;  // samples per channel
};

// Writes two 16-bit values for each frame of `source`, at most `frameLimit` frames, and returns the number of
// bytes written. Formats other than float are further limited to the frames in `byteLimit` bytes of the
// source. A value whose plane is missing is left unwritten, or 0 in the 32-bit formats. Nothing is written
// for invalid formats and counts.
std::uint32_t ConvertSamples(const DecodedSamples& source, std::uint8_t* destination, std::uint64_t byteLimit,
                             std::uint64_t frameLimit);

}  // namespace fmp4
