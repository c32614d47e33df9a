#include "mp4box/sample_flags.h"
#include "streaming/index/messages.h"
#include "streaming/index/seek.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kKey = 0x10000000u;
constexpr std::uint32_t kNotKey = 0x80000000u;

bool isKey(const TrackCursor& cursor, std::uint32_t sample) {
  return SampleKeyFlag(flagsOfSample(cursor.run(), sample, cursor.defaults())) == kKey;
}

// Whether all samples of a run after the first have the same flags.
bool sameFlagsAfterFirst(const mp4::TrackRunBox& run) {
  return !run.hasFlags();
}

// The last key sample of the current run at or before `sample`. Returns whether there is one.
bool keyAtOrBefore(const TrackCursor& cursor, std::uint32_t& sample) {
  if (sample > 0 && sameFlagsAfterFirst(cursor.run()) && !isKey(cursor, sample)) sample = 0;
  while (!isKey(cursor, sample)) {
    if (sample == 0) return false;
    --sample;
  }
  return true;
}

// The first key sample of the current run at or after `sample`. Returns whether there is one.
bool keyAtOrAfter(const TrackCursor& cursor, std::uint32_t& sample) {
  const std::uint32_t count = cursor.run().sampleCount;
  if (sample > 0 && sameFlagsAfterFirst(cursor.run()) && !isKey(cursor, sample)) return false;
  for (; sample < count; ++sample) {
    if (isKey(cursor, sample)) return true;
    if (sample > 0 && sameFlagsAfterFirst(cursor.run())) return false;
  }
  return false;
}

std::nullopt_t failSearch() {
  messages::reportIndexError(messages::kNoVideoChunk);
  return std::nullopt;
}

// Moves back to the last sample of the previous run, skipping fragments without the track. EndOfData: there
// is no previous run.
Result stepToRunBefore(FragmentIndex& index, TrackCursor& cursor) {
  std::uint32_t run = cursor.trunIndex();
  std::uint32_t fragment = cursor.fragmentIndex();
  for (;;) {
    while (run > 0) {
      --run;
      if (cursor.truns()[run]->sampleCount == 0) continue;
      return cursor.locateFragment(index, fragment, run);
    }
    fragment = index.previousOccupied(fragment);
    if (fragment == index.fragmentCount()) return Defect::EndOfData;
    if (const Result located = cursor.locateFragment(index, fragment, 0); !located.ok()) return located;
    run = static_cast<std::uint32_t>(cursor.truns().size());
  }
}

}  // namespace

std::uint32_t SampleKeyFlag(std::uint32_t flags) {
  // Intended (quirk 17): the masked value can never equal 2, so the non-sync bit alone decides.
  const std::uint32_t dependsOn = flags & mp4::kDependsOnMask;
  if (dependsOn == 2) return kKey;
  return flags & mp4::kNonSync ? kNotKey : kKey;
}

std::optional<std::uint32_t> FindKeyFrameBackward(FragmentIndex& index, std::uint32_t frame,
                                                  TrackCursor& cursor) {
  if (!locateVideoFrame(index, frame, cursor).ok()) return std::nullopt;
  std::uint64_t runStart = frame - cursor.sampleIndex();  // first frame of the run
  std::uint32_t sample = cursor.sampleIndex();
  while (!keyAtOrBefore(cursor, sample)) {
    const Result step = stepToRunBefore(index, cursor);
    if (step == Defect::EndOfData) return 0;
    if (!step.ok()) return failSearch();
    runStart -= cursor.run().sampleCount;
    sample = cursor.run().sampleCount - 1;
  }
  return static_cast<std::uint32_t>(runStart + sample);
}

std::optional<std::uint32_t> FindKeyFrameForward(FragmentIndex& index, std::uint32_t frame,
                                                 TrackCursor& cursor) {
  if (!locateVideoFrame(index, frame, cursor).ok()) return std::nullopt;
  std::uint64_t runStart = frame - cursor.sampleIndex();
  std::uint32_t sample = cursor.sampleIndex();
  while (!keyAtOrAfter(cursor, sample)) {
    runStart += cursor.run().sampleCount;
    cursor.seek(cursor.run().sampleCount);
    if (cursor.advance(index) != Advance::Ready) return failSearch();
    sample = 0;
  }
  return saturate<std::uint32_t>(runStart + sample);
}

}  // namespace fmp4
