// How a recording is divided: frames into fragments, fragments into segments; and when its segments start.
#pragma once

#include <cstdint>

// Video frames of one movie fragment, at most.
inline constexpr std::uint32_t kMaxFramesPerFragment = 30;

// Where the first segment index of a video file starts, in ticks. Intended (quirk 37).
inline constexpr std::uint64_t kFirstVideoIndexTime = 1001;

// Where the first segment index of an audio file starts, in samples. Intended (quirk 38): as if a segment, of that many
// samples, had gone before it.
constexpr std::uint64_t FirstAudioIndexTime(std::uint64_t segmentSamples) {
  return segmentSamples;
}

struct SegmentGeometry {
  std::uint32_t framesPerFragment = kMaxFramesPerFragment;  // video frames of one movie fragment
  std::uint32_t fragmentsPerSegment = 10;  // also the references that a segment index has room for
};

// The geometry for a key frame every `keyFrameInterval` frames. 1 stands for "not told", and so does 0. Above
// 30 a fragment takes the largest part of the interval that divides it and is at most 30 frames. Intervals
// without a good part, primes among them, and those above 300 give 0 fragments a segment: the recording is
// then one segment, whose index has no references. Intended (quirk 40): some players refuse it.
SegmentGeometry GeometryOfInterval(std::uint32_t keyFrameInterval);
