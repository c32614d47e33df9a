// How a recording is cut: frames into fragments, fragments into segments.
#pragma once

#include <cstdint>

struct SegmentGeometry {
  std::uint32_t framesPerFragment = 30;    // video frames of one movie fragment
  std::uint32_t fragmentsPerSegment = 10;  // also the references that a segment index has room for
};

// The geometry for a key frame every `keyFrameInterval` frames. 1 stands for "not told", and so does 0. Above
// 30 a fragment takes the largest part of the interval that divides it and is at most 30 frames. Intervals
// without a good part, primes among them, and those above 300 give 0 fragments a segment: the recording is
// then one segment, whose index has no references. Intended: players refuse what comes of it.
SegmentGeometry GeometryOfInterval(std::uint32_t keyFrameInterval);
