#include "streaming/index/track_cursor.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "streaming/index/messages.h"
#include "streaming/index/run_placement.h"

namespace {

// Large enough to make small samples cheap, small enough to stay in the processor's cache.
constexpr std::size_t kWindowBytes = 256 * 1024;
// Samples of at least this size are read directly to their destination.
constexpr std::uint64_t kDirectBytes = 16 * 1024;

}  // namespace

void TrackCursor::clear() {
  moof = nullptr;
  tfhd = nullptr;
  data.reset();
  dataCapacity = 0;
  windowFill = 0;
  tfdt = nullptr;
  truns.clear();
  runOffsets.clear();
  trunIndex = 0;
}

TrackCursor makeTrackCursor(const IndexedTrack& track) {
  TrackCursor cursor;
  cursor.trackId = track.trackId;
  cursor.trex = track.trex;
  cursor.timescale = track.timescale;
  return cursor;
}

int LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex, bool loadData,
                 TrackCursor& cursor) {
  const bool sameFragment = cursor.moof && cursor.fragmentIndex == fragmentIndex && !cursor.truns.empty();
  if (loadData && sameFragment && cursor.trunIndex == trunIndex && cursor.loaded()) return 0;

  const FragmentEntry* entry = nullptr;
  const char* failure = nullptr;
  if (fragmentIndex >= index.fragmentCount()) {
    failure = messages::kMoofIndexBeyondEnd;
  } else if (index.empty()) {
    failure = messages::kNoMoofArray;
  } else if (entry = index.entry(fragmentIndex); !entry) {
    failure = messages::kNoMoofBox;
  }
  if (failure) {
    messages::reportPlain(failure);
    cursor.clear();
    return -1;
  }

  if (!sameFragment) {
    // Keep nothing of the previous fragment in case memory runs out here.
    cursor.truns.clear();
    TrackFragment fragment = readTrackFragment(entry->moof, cursor.trackId);
    cursor.tfhd = fragment.tfhd;
    cursor.tfdt = fragment.tfdt;
    cursor.defaults = SampleDefaults(cursor.tfhd, cursor.trex);
    cursor.runOffsets = placeRuns(index, *entry, fragment, cursor.defaults);
    cursor.truns = std::move(fragment.truns);
  }
  cursor.moof = entry->moof;
  cursor.fragmentIndex = fragmentIndex;
  if (!loadData) {
    cursor.data.reset();
    cursor.dataCapacity = 0;
    cursor.windowFill = 0;
  } else if (!cursor.data) {
    cursor.data.reset(new (std::nothrow) std::uint8_t[kWindowBytes]);
    if (!cursor.data) {
      cursor.clear();
      messages::reportPlain(messages::kNoSampleMemory);
      return -1;
    }
    cursor.dataCapacity = kWindowBytes;
  }
  cursor.trunIndex = trunIndex;
  cursor.sampleIndex = 0;
  cursor.sampleOffset = 0;
  return 0;
}

Advance advanceRun(FragmentIndex& index, bool loadData, TrackCursor& cursor) {
  while (cursor.truns.empty() || cursor.atRunEnd()) {
    if (cursor.trunIndex + 1 < cursor.truns.size()) {
      if (LoadFragment(index, cursor.fragmentIndex, cursor.trunIndex + 1, loadData, cursor) < 0) {
        return Advance::NoRun;
      }
      continue;
    }
    const std::uint32_t next = index.nextOccupied(cursor.fragmentIndex + 1);
    if (LoadFragment(index, next, 0, loadData, cursor) < 0) return Advance::NoFragment;
  }
  return Advance::Ready;
}

int readSample(FragmentIndex& index, TrackCursor& cursor, std::uint8_t* destination) {
  return readThroughWindow(index, cursor, addSaturated(cursor.runOffset(), cursor.sampleOffset),
                           cursor.sampleSize(), destination);
}

int readThroughWindow(FragmentIndex& index, TrackCursor& cursor, std::uint64_t offset, std::uint64_t count,
                      std::uint8_t* destination) {
  if (count == 0) return 0;
  const std::uint64_t windowEnd = cursor.windowOffset + cursor.windowFill;
  if (cursor.windowFill && offset >= cursor.windowOffset && offset < windowEnd) {
    const std::uint64_t held = std::min(count, windowEnd - offset);
    std::memcpy(destination, cursor.data.get() + (offset - cursor.windowOffset), held);
    destination += held;
    offset += held;
    count -= held;
  }
  if (count == 0) return 0;
  Mp4Stream& stream = index.stream();
  if (!stream.seek(offset)) return -1;
  if (count >= kDirectBytes) {
    return stream.read(destination, static_cast<std::int64_t>(count)) == static_cast<std::int64_t>(count)
               ? 0
               : -1;
  }
  const std::int64_t got = stream.read(cursor.data.get(), static_cast<std::int64_t>(cursor.dataCapacity));
  cursor.windowOffset = offset;
  cursor.windowFill = got > 0 ? static_cast<std::size_t>(got) : 0;
  if (cursor.windowFill < count) return -1;
  std::memcpy(destination, cursor.data.get(), count);
  return 0;
}
