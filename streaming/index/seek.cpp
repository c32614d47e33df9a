#include "streaming/index/seek.h"

#include "streaming/index/messages.h"

namespace fmp4 {

namespace {

Result failSeek(const char* text, Result result) {
  messages::reportIndexError(text);
  return result;
}

// The run of a fragment that contains the target, and the sample in it.
struct Target {
  std::uint32_t trunIndex = 0;
  SamplePosition sample;
  bool found = false;
};

// Finds a target in the runs of the loaded fragment; `offset` is relative to the start of the fragment.
// `lengthOf(run)` returns the length of a run, `positionIn(run, rest)` the sample at `rest` in the run that
// contains it.
template <class LengthOf, class PositionIn>
Target findInRuns(const TrackCursor& cursor, std::uint64_t offset, LengthOf lengthOf, PositionIn positionIn) {
  Target target;
  std::uint64_t start = 0;
  for (const mp4::TrackRunBox* run : cursor.truns()) {
    const std::uint64_t end = addSaturated(start, lengthOf(*run));
    if (end > offset) {
      target.sample = positionIn(*run, offset - start);
      target.sample.start += start;
      target.found = true;
      return target;
    }
    start = end;
    ++target.trunIndex;
  }
  return target;
}

// TrackCursor::LoadFragment or locateFragment.
using Load = Result (TrackCursor::*)(FragmentIndex& index, std::uint32_t fragmentIndex,
                                     std::uint32_t trunIndex);

// Common steps: find the fragment, enter it, find the sample, load the run for what comes next.
template <class LengthOf, class PositionIn>
Result seekTrack(FragmentIndex& index, TrackRole role, std::uint64_t target, Load load, TrackCursor& cursor,
                 const char* firstFailure, const char* secondFailure, LengthOf lengthOf,
                 PositionIn positionIn) {
  const FragmentIndex::Place place = index.find(role, target);
  if (const Result entered = cursor.enterFragment(index, place.fragmentIndex); !entered.ok())
    return failSeek(firstFailure, entered);
  const Target found = findInRuns(cursor, target - place.start, lengthOf, positionIn);
  const Result loaded =
      found.found ? (cursor.*load)(index, place.fragmentIndex, found.trunIndex) : Defect::SampleMissing;
  if (!loaded.ok()) {
    cursor.clear();
    return failSeek(secondFailure, loaded);
  }
  cursor.seek(found.sample.index);
  cursor.position = place.start + found.sample.start;
  return {};
}

// Tracks with one sample per frame.
Result seekFrame(FragmentIndex& index, TrackRole role, std::uint64_t frame, Load load, TrackCursor& cursor,
                 const char* firstFailure) {
  return seekTrack(
      index, role, frame, load, cursor, firstFailure, messages::kNoVideoChunk,
      [](const mp4::TrackRunBox& run) { return std::uint64_t{run.sampleCount}; },
      [](const mp4::TrackRunBox&, std::uint64_t rest) {
        return SamplePosition{static_cast<std::uint32_t>(rest), rest};
      });
}

}  // namespace

Result SeekVideoFrame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor) {
  return seekFrame(index, kVideoTrack, frame, &TrackCursor::LoadFragment, cursor, messages::kNoVideoChunk);
}

Result locateVideoFrame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor) {
  return seekFrame(index, kVideoTrack, frame, &TrackCursor::locateFragment, cursor, messages::kNoVideoChunk);
}

Result SeekCc708Frame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor) {
  return seekFrame(index, kCc708Track, frame, &TrackCursor::LoadFragment, cursor, messages::kNoAudioChunk);
}

Result SeekAudioTime(FragmentIndex& index, std::uint64_t time, TrackCursor& cursor) {
  return seekTrack(
      index, kAudioTrack, time, &TrackCursor::LoadFragment, cursor, messages::kNoAudioChunk,
      messages::kNoVideoChunk,
      [&cursor](const mp4::TrackRunBox& run) {
        return durationOfSamples(run, run.sampleCount, cursor.defaults());
      },
      [&cursor](const mp4::TrackRunBox& run, std::uint64_t rest) {
        return sampleAtTime(run, rest, cursor.defaults());
      });
}

Result seekCc608Sample(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor) {
  const FrameRate& rate = index.frameRate();
  return seekTrack(
      index, kCc608Track, frame, &TrackCursor::LoadFragment, cursor, messages::kNoCaptionChunk,
      messages::kNoVideoChunk,
      [&cursor, &rate](const mp4::TrackRunBox& run) {
        return captionFramesOf(run, cursor.defaults(), cursor.timescale(), rate);
      },
      [&cursor, &rate](const mp4::TrackRunBox& run, std::uint64_t rest) {
        // Truncated sample durations add up to less than their run: its last sample takes the rest.
        SamplePosition position;
        const std::uint32_t last = run.sampleCount - 1;
        if (!run.hasDuration()) {
          const std::uint64_t each = framesOf(cursor.defaults().duration, cursor.timescale(), rate);
          position.index = each && rest / each < last ? static_cast<std::uint32_t>(rest / each) : last;
          position.start = position.index * each;
          return position;
        }
        for (; position.index < last; ++position.index) {
          const std::uint64_t end =
              position.start + framesOf(run.duration(position.index), cursor.timescale(), rate);
          if (end > rest) break;
          position.start = end;
        }
        return position;
      });
}

}  // namespace fmp4
