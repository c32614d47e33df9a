// Fragmented files built from the input: video with captions in a few fragments of any runs. An intact one
// delivers each sample as it was written; one with a single fault delivers the same in every order.
#include <cstring>
#include <optional>

#include "base/bit_window.h"
#include "fuzz/memory_file.h"
#include "fuzz/reading_order.h"
#include "tests/support/fragments.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

struct BuiltFile {
  std::vector<TrackSpec> tracks;
  std::vector<std::vector<TrafSpec>> fragments;
  std::vector<SampleSpec> frames;  // of the video, in decoding order
  bool sequenceNumbers = true;
  std::vector<std::size_t> ends;  // of the fragments, in the file

  Bytes bytes() {
    Bytes all = join({fileTypeBox(), movieBox(tracks)});
    std::uint32_t number = 0;
    for (const std::vector<TrafSpec>& trafs : fragments) {
      const Bytes one = fragment(sequenceNumbers ? std::optional(++number) : std::nullopt, trafs);
      all.insert(all.end(), one.begin(), one.end());
      ends.push_back(all.size());
    }
    return all;
  }
};

RunSpec readRun(BitWindow& bits, std::uint32_t& seed) {
  RunSpec run{kRunDataOffset | kRunSize};
  for (const std::uint32_t flag : {kRunDuration, kRunFlags, kRunComposition})
    if (bits.ReadFlag()) run.flags |= flag;
  run.version = static_cast<std::uint8_t>(bits.Read(1));
  const std::uint32_t count = bits.Read(3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t size = 1 + bits.Read(6), duration = 1 + bits.Read(4);
    const bool isKey = bits.ReadFlag();
    run.samples.push_back(sampleOf(size, ++seed, duration * 1001, isKey ? 0 : kNonSyncSample,
                                   static_cast<std::int32_t>(bits.Read(4)) * 1001));
  }
  return run;
}

// As much as the bits describe, at least a fragment of a frame.
BuiltFile readFile(BitWindow& bits) {
  BuiltFile file;
  file.tracks = {videoTrack()};
  const bool hasCaptions = bits.ReadFlag();
  if (hasCaptions) file.tracks.push_back({2, "clcp", 30000, captionEntry("c608"), 1001});
  std::uint32_t seed = 0;
  const std::uint32_t count = 1 + bits.Read(2);
  for (std::uint32_t i = 0; i < count; ++i) {
    TrafSpec video;
    const std::uint32_t runs = bits.Read(2);
    for (std::uint32_t r = 0; r < runs; ++r) video.runs.push_back(readRun(bits, seed));
    if (file.frames.empty() && (runs == 0 || video.runs.front().samples.empty()))
      video.runs.insert(video.runs.begin(), RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 77)}});
    for (const RunSpec& run : video.runs)
      file.frames.insert(file.frames.end(), run.samples.begin(), run.samples.end());
    std::vector<TrafSpec> trafs = {video};
    if (hasCaptions && bits.ReadFlag()) {
      TrafSpec captions;
      captions.trackId = 2;
      captions.runs.push_back(readRun(bits, seed));
      trafs.push_back(captions);
    }
    file.fragments.push_back(trafs);
  }
  return file;
}

// One fault, chosen by the bits, in what the boxes say or in their bytes. False: none.
bool breakOneThing(BitWindow& bits, BuiltFile& file, Bytes& bytes) {
  const std::uint32_t kind = bits.Read(4), where = bits.Read(16), value = bits.Read(16);
  std::vector<TrafSpec>& trafs = file.fragments[where % file.fragments.size()];
  TrafSpec& traf = trafs[value % trafs.size()];
  RunSpec* const run = traf.runs.empty() ? nullptr : &traf.runs[value % traf.runs.size()];
  switch (kind) {
    case 1:
      traf.trackId = value % 4;
      break;
    case 2:
      if (run) run->count = value;
      break;
    case 3:
      if (run) run->dataOffset = value;
      break;
    case 4:
      traf.flags |= kBaseOffset;
      traf.base = value;
      break;
    case 5:
      traf.bare = true;
      break;
    case 6:
      file.sequenceNumbers = false;
      break;
    case 7:
      trafs.push_back(traf);
      break;
    case 8:
      file.tracks[value % file.tracks.size()].extends = false;
      break;
    case 9:
      file.tracks[0].id = value % 4;
      break;
    case 10:
    case 11:
      bytes[where % bytes.size()] ^= static_cast<std::uint8_t>(1 + value % 255);
      return true;
    case 12:
      bytes.resize(where % bytes.size());
      return true;
    case 13:
      bytes.erase(bytes.begin() + where % bytes.size());
      return true;
    default:
      return false;
  }
  bytes = file.bytes();
  return true;
}

// Every frame is the sample that was written.
void expectSamples(const std::string& path, const std::vector<SampleSpec>& frames) {
  OpenedFile file(path);
  if (!file.isOpen() || file.frames() != std::min<std::size_t>(frames.size(), 64)) std::abort();
  for (std::uint32_t i = 0; i < file.frames(); ++i) {
    const ReadFrame frame = file.frame(i);
    if (frame.status != VL_OK || frame.bytes != frames[i].data) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile disk;
  BitWindow bits(data, size);
  const std::uint32_t order = bits.Read(8);
  BuiltFile file = readFile(bits);
  Bytes bytes = file.bytes();
  const bool broken = breakOneThing(bits, file, bytes);
  disk.set(bytes);
  if (!broken) expectSamples(disk.path(), file.frames);
  if (!expectSameInAnyOrder(disk.path(), order) && !broken) std::abort();
  return 0;
}

}  // namespace fmp4
