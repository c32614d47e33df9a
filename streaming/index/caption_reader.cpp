#include "streaming/index/caption_reader.h"

#include <algorithm>
#include <new>

#include "base/bytes.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "streaming/index/messages.h"
#include "streaming/index/seek.h"

namespace fmp4 {

namespace {

Result failSample(Result result) {
  messages::reportIndexError(messages::kNoVideoChunk);
  return result;
}

// Offset of the current sample's bytes, relative to the first byte of the current run.
//
// Intended (quirk 16): the offset inside the run is not added, and for runs after the first the distance from
// the data of the previous run is added.
std::int64_t placeInData(const TrackCursor& cursor) {
  if (cursor.trunIndex() == 0) return 0;
  return std::int64_t{cursor.run().dataOffset} - cursor.truns()[cursor.trunIndex() - 1]->dataOffset;
}

// Reads the current sample into the buffer, without the header of an enclosing "cdat" box.
Result takeSample(FragmentIndex& index, Cc608Reader& reader) {
  TrackCursor& cursor = reader.cursor;
  reader.forget();
  std::uint64_t trackBytes = 0;
  for (const mp4::TrackRunBox* run : cursor.truns()) {
    trackBytes = addSaturated(trackBytes, sizeOfSamples(*run, run->sampleCount, cursor.defaults()));
  }
  const std::int64_t place = placeInData(cursor);
  const std::uint64_t size = cursor.sampleSize();
  if (place < 0 || static_cast<std::uint64_t>(place) > trackBytes ||
      size > trackBytes - static_cast<std::uint64_t>(place)) {
    return failSample(Defect::SampleMissing);
  }
  const std::uint64_t offset = addSaturated(cursor.runOffset(), static_cast<std::uint64_t>(place));
  const std::uint64_t failures = index.stream().readFailures();
  const std::uint64_t fileSize = index.stream().size();
  if (offset > fileSize || size > fileSize - offset) {
    return failSample(index.stream().readFailures() == failures ? Defect::SamplePastFile
                                                                : Defect::ReadFailed);
  }
  try {
    reader.buffer.resize(std::max<std::size_t>(reader.buffer.size(), size));
  } catch (const std::bad_alloc&) {
    reader.buffer = {};
    messages::reportPlain(messages::kNoCaptionMemory);
    return Defect::OutOfMemory;
  }
  if (const Result read = cursor.readAt(index, offset, size, reader.buffer.data()); !read.ok())
    return failSample(read);
  const bool boxed = size >= kBoxHeaderBytes && Mp4LoadU32(reader.buffer.data() + 4) == box_type::kCdat;
  reader.consumed = boxed ? kBoxHeaderBytes : 0;
  reader.pending = size - reader.consumed;
  return {};
}

// Moves to the next sample: in this run, in the next run, or in the next fragment whose captions last at
// least one frame. `start` receives its presentation time in frames.
Result stepToNextSample(FragmentIndex& index, Cc608Reader& reader, std::uint64_t& start) {
  TrackCursor& cursor = reader.cursor;
  start = cursor.position + framesOf(cursor.sampleDuration(), cursor.timescale(), index.frameRate());
  cursor.next();
  const std::uint32_t fragment = cursor.fragmentIndex();
  while (cursor.atRunEnd()) {
    const bool lastRun = cursor.trunIndex() + 1 == cursor.truns().size();
    const std::uint32_t next =
        lastRun ? index.nextCarrying(kCc608Track, cursor.fragmentIndex() + 1) : cursor.fragmentIndex();
    const Result loaded = cursor.LoadFragment(index, next, lastRun ? 0 : cursor.trunIndex() + 1);
    if (!loaded.ok()) return loaded;
  }
  if (cursor.fragmentIndex() != fragment) {
    const std::uint64_t frame = frameOfDecodeTime(index, cursor);
    start = frame > reader.ccBaseFrame ? frame - reader.ccBaseFrame : 0;
  }
  cursor.position = start;
  return {};
}

}  // namespace

void Cc608Reader::dropPair() {
  consumed += 2;
  pending -= 2;
  ++ccFrame;
}

void Cc608Reader::forget() {
  consumed = 0;
  pending = 0;
  ccFrame = kNoFrame;
}

Result SeekCc608Frame(FragmentIndex& index, std::uint64_t frame, Cc608Reader& reader) {
  if (const Result found = seekCc608Sample(index, frame, reader.cursor); !found.ok()) return found;
  if (const Result taken = takeSample(index, reader); !taken.ok()) return taken;
  reader.ccFrame = reader.cursor.position;
  while (reader.hasPair() && reader.ccFrame < frame) reader.dropPair();
  if (reader.hasPair()) return {};
  std::uint64_t start = 0;
  if (const Result stepped = stepToNextSample(index, reader, start); !stepped.ok()) return stepped;
  if (const Result taken = takeSample(index, reader); !taken.ok()) return taken;
  reader.ccFrame = start;
  return {};
}

std::uint64_t frameOfDecodeTime(const FragmentIndex& index, const TrackCursor& cursor) {
  return cursor.tfdt() ? framesOf(cursor.tfdt()->baseMediaDecodeTime, cursor.timescale(), index.frameRate())
                       : 0;
}

}  // namespace fmp4
