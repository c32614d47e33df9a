// The geometry of a recording: frames in fragments, fragments in segments, and when the segments start.
#pragma once

#include <cstdint>

namespace fmp4 {

// Maximum video frames of a movie fragment.
inline constexpr std::uint32_t kMaxFramesPerFragment = 30;

// Time of the first segment index of a video file, in ticks. Intended (quirk 37).
inline constexpr std::uint64_t kFirstVideoIndexTime = 1001;

// Time of the first segment index of an audio file, in samples. Intended (quirk 38): as if a segment, of that
// many samples, had preceded it.
constexpr std::uint64_t firstAudioIndexTime(std::uint64_t segmentSamples) {
  return segmentSamples;
}

struct SegmentGeometry {
  std::uint32_t framesPerFragment = kMaxFramesPerFragment;  // video frames of one movie fragment
  std::uint32_t fragmentsPerSegment = 10;  // also the references that a segment index has space for
};

// The geometry for a key frame every `keyFrameInterval` frames. 1 means unspecified, and so does 0. Above 30
// a fragment takes the largest divisor of the interval that is at most 30 frames. Intervals without a good
// divisor, primes among them, and those above 300 give 0 fragments a segment: the recording is then one
// segment, whose index has no references. Intended (quirk 40): some players refuse it.
SegmentGeometry geometryOfInterval(std::uint32_t keyFrameInterval);

}  // namespace fmp4
