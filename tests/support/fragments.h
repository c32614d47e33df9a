// Fragmented files built sample by sample: movie boxes, fragments with any runs, segment indexes.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tests/support/box_builder.h"

namespace fmp4 {

inline constexpr std::uint32_t kRunDataOffset = 0x001, kRunFirstFlags = 0x004, kRunDuration = 0x100,
                               kRunSize = 0x200, kRunFlags = 0x400, kRunComposition = 0x800;
inline constexpr std::uint32_t kBaseOffset = 0x01, kDefaultDuration = 0x08, kDefaultSize = 0x10,
                               kDefaultFlags = 0x20, kBaseIsMoof = 0x020000;
inline constexpr std::uint32_t kNonSyncSample = 0x00010000;

struct SampleSpec {
  Bytes data;
  std::uint32_t duration = 0;
  std::uint32_t flags = 0;
  std::int32_t composition = 0;
};

struct RunSpec {
  std::uint32_t flags = kRunDataOffset | kRunSize;
  std::vector<SampleSpec> samples = {};
  std::uint8_t version = 0;
  std::uint32_t firstFlags = 0;
  std::optional<std::uint32_t> dataOffset = std::nullopt;  // stated instead of the true offset
  std::optional<std::uint32_t> count = std::nullopt;       // likewise
};

struct TrafSpec {
  std::uint32_t trackId = 1;
  std::uint32_t flags = kBaseIsMoof;
  std::vector<RunSpec> runs = {};
  std::uint64_t decodeTime = 0;
  std::uint32_t duration = 0, size = 0, sampleFlags = 0;  // defaults, written when flagged
  std::uint64_t base = 0;                                 // written when flagged
  bool bare = false;                                      // only a "tfhd"
};

// A sample of `size` bytes that its `seed` makes distinct from others.
inline SampleSpec sampleOf(std::uint32_t size, std::uint32_t seed, std::uint32_t duration = 0,
                           std::uint32_t flags = 0, std::int32_t composition = 0) {
  SampleSpec sample{Bytes(size), duration, flags, composition};
  for (std::uint32_t i = 0; i < size; ++i) sample.data[i] = static_cast<std::uint8_t>(seed * 31 + i * 7);
  return sample;
}

inline Bytes runBox(const RunSpec& run, std::uint32_t dataOffset) {
  const auto count = run.count.value_or(static_cast<std::uint32_t>(run.samples.size()));
  Bytes fields = u32(count);
  if (run.flags & kRunDataOffset) fields = join({fields, u32(run.dataOffset.value_or(dataOffset))});
  if (run.flags & kRunFirstFlags) fields = join({fields, u32(run.firstFlags)});
  for (const SampleSpec& sample : run.samples) {
    if (run.flags & kRunDuration) fields = join({fields, u32(sample.duration)});
    if (run.flags & kRunSize) fields = join({fields, u32(sample.data.size())});
    if (run.flags & kRunFlags) fields = join({fields, u32(sample.flags)});
    if (run.flags & kRunComposition) {
      fields = join({fields, u32(static_cast<std::uint32_t>(sample.composition))});
    }
  }
  return fullBox("trun", run.version, run.flags, {fields});
}

// A "moof" and the "mdat" after it, the runs' bytes one after the other. `sequence` none: no "mfhd".
inline Bytes fragment(std::optional<std::uint32_t> sequence, const std::vector<TrafSpec>& trafs) {
  const auto build = [&](std::uint32_t payloadStart) {
    Bytes content;
    if (sequence) content = fullBox("mfhd", 0, 0, {u32(*sequence)});
    std::uint32_t offset = payloadStart;
    for (const TrafSpec& traf : trafs) {
      Bytes head = u32(traf.trackId);
      if (traf.flags & kBaseOffset) head = join({head, u64(traf.base)});
      if (traf.flags & kDefaultDuration) head = join({head, u32(traf.duration)});
      if (traf.flags & kDefaultSize) head = join({head, u32(traf.size)});
      if (traf.flags & kDefaultFlags) head = join({head, u32(traf.sampleFlags)});
      Bytes boxes = fullBox("tfhd", 0, traf.flags, {head});
      if (!traf.bare) boxes = join({boxes, fullBox("tfdt", 1, 0, {u64(traf.decodeTime)})});
      for (const RunSpec& run : traf.runs) {
        boxes = join({boxes, runBox(run, offset)});
        for (const SampleSpec& sample : run.samples) offset += static_cast<std::uint32_t>(sample.data.size());
      }
      content = join({content, box("traf", {boxes})});
    }
    return box("moof", {content});
  };
  const Bytes moof = build(static_cast<std::uint32_t>(build(0).size()) + 8);
  Bytes data;
  for (const TrafSpec& traf : trafs) {
    for (const RunSpec& run : traf.runs) {
      for (const SampleSpec& sample : run.samples) data = join({data, sample.data});
    }
  }
  return join({moof, box("mdat", {data})});
}

struct ReferenceSpec {
  std::uint32_t size = 0;
  std::uint32_t type = 0;
  std::uint32_t duration = 0;
};

inline Bytes sidxBox(const std::vector<ReferenceSpec>& references, std::uint32_t firstOffset = 0) {
  Bytes entries;
  for (const ReferenceSpec& r : references) {
    entries = join({entries, u32(std::uint64_t{r.type} << 31 | r.size), u32(r.duration), u32(0)});
  }
  return fullBox("sidx", 0, 0,
                 {u32(1), u32(1000), u32(0), u32(firstOffset), u16(0), u16(references.size()), entries});
}

struct TrackSpec {
  std::uint32_t id = 1;
  std::string_view handler = "vide";
  std::uint32_t timescale = 30000;
  Bytes sampleEntry = {};
  std::uint32_t duration = 1001;  // track defaults
  std::uint32_t size = 0;
  std::uint32_t sampleFlags = 0;
  bool extends = true;  // whether there are any
  Bytes edits = {};     // editsBox
};

inline Bytes visualEntry(std::string_view type, std::uint16_t width, std::uint16_t height,
                         const Bytes& config) {
  return box(type, {zeros(6), u16(1), zeros(16), u16(width), u16(height), u32(0x480000), u32(0x480000),
                    u32(0), u16(1), zeros(32), u16(24), u16(0xFFFF), config});
}
inline Bytes audioEntry(std::string_view type, std::uint16_t channels, std::uint16_t bits, std::uint32_t rate,
                        const Bytes& config = {}) {
  return box(type, {zeros(6), u16(1), zeros(8), u16(channels), u16(bits), zeros(4),
                    u32(std::uint64_t{rate} << 16), config});
}
// The "esds" of a codec by its objectTypeIndication, with an AudioSpecificConfig of two bytes.
inline Bytes elementaryStreamBox(std::uint8_t objectType = 0x40, std::uint16_t configuration = 0x1190) {
  return fullBox("esds", 0, 0,
                 {u8(3), u8(25), u16(0), u8(0), u8(4), u8(17), u8(objectType), u8(0x15), u24(0), u32(0),
                  u32(0), u8(5), u8(2), u16(configuration), u8(6), u8(1), u8(2)});
}
inline Bytes captionEntry(std::string_view type) {
  return box(type, {zeros(6), u16(1)});
}
// A decoder configuration with a profile and level but no parameter sets.
inline Bytes avcConfiguration() {
  return box("avcC", {u8(1), u8(0x64), u8(0), u8(0x1F), u8(0xFF), u8(0xE0), u8(0)});
}

// An entry of an edit list: a duration in ms, and the media time from which it plays, -1 for none.
struct EditSpec {
  std::uint32_t duration = 0;
  std::int32_t mediaTime = 0;
};

inline Bytes editsBox(const std::vector<EditSpec>& edits) {
  Bytes entries;
  for (const EditSpec& edit : edits)
    entries =
        join({entries, u32(edit.duration), u32(static_cast<std::uint32_t>(edit.mediaTime)), u32(0x10000)});
  return box("edts", {fullBox("elst", 0, 0, {u32(edits.size()), entries})});
}

inline Bytes trackBox(const TrackSpec& track) {
  const Bytes times = zeros(8);
  const Bytes header = fullBox("tkhd", 0, 3, {times, u32(track.id), zeros(8), zeros(60)});
  const Bytes mediaHeader = fullBox("mdhd", 0, 0, {times, u32(track.timescale), u32(0), u16(0x55C4), u16(0)});
  const Bytes handler = fullBox("hdlr", 0, 0, {u32(0), text(track.handler), zeros(12), u8(0)});
  const Bytes table =
      box("stbl", {fullBox("stsd", 0, 0, {u32(1), track.sampleEntry}), fullBox("stts", 0, 0, {u32(0)})});
  return box("trak", {header, track.edits,
                      box("mdia", {mediaHeader, handler, box("minf", {table, box("dinf", {zeros(16)})})})});
}

inline Bytes movieBox(const std::vector<TrackSpec>& tracks) {
  Bytes extends;
  Bytes boxes;
  for (const TrackSpec& track : tracks) {
    if (track.extends) {
      extends = join({extends, fullBox("trex", 0, 0,
                                       {u32(track.id), u32(1), u32(track.duration), u32(track.size),
                                        u32(track.sampleFlags)})});
    }
    boxes = join({boxes, trackBox(track)});
  }
  return box("moov",
             {fullBox("mvhd", 0, 0, {zeros(8), u32(1000), zeros(84)}), box("mvex", {extends}), boxes});
}

inline Bytes fileTypeBox() {
  return box("ftyp", {text("iso5"), u32(512), text("iso5"), text("dash")});
}

inline TrackSpec videoTrack(std::uint32_t id = 1, std::uint32_t timescale = 30000,
                            std::uint32_t duration = 1001) {
  return {id, "vide", timescale, visualEntry("avc1", 320, 180, avcConfiguration()), duration};
}

}  // namespace fmp4
