// FFmpeg's decoded samples as interleaved 16-bit pairs.
#pragma once

#include <cstdint>

// The samples of one decoded frame, as its decoder describes them.
struct DecodedSamples {
  const std::uint8_t* planeA;  // the frame's first plane; all channels in turn where the format has no planes
  const std::uint8_t* planeB;  // its second plane, null where there is none
  int format;                  // an ffmpeg57::SampleFormat
  int channels;
  int frames;  // samples of each channel
};

// Writes two 16-bit values for each frame of `source`, for `frameLimit` frames at most, and returns the bytes
// written. Formats but those of floats are further held to the frames that `byteLimit` bytes of the source
// hold. A value whose plane is missing is passed over; in the 32-bit formats it is 0. Nothing is written for
// formats and counts that are none.
std::uint32_t ConvertSamples(const DecodedSamples& source, std::uint8_t* destination, std::uint64_t byteLimit,
                             std::uint64_t frameLimit);
