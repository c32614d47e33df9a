// The samples that the tables of a plain file describe, and what contradicts itself in them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "base/user_error.h"
#include "tests/support/fragments.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

using Rows = std::vector<std::vector<std::uint32_t>>;

Bytes tableBox(std::string_view type, const Rows& rows) {
  Bytes fields = u32(rows.size());
  for (const auto& row : rows)
    for (const std::uint32_t value : row) fields = join({fields, u32(value)});
  return fullBox(type, 0, 0, {fields});
}

// Five samples of 1 to 5 bytes in two chunks, unless `change` says otherwise.
struct Tables {
  Bytes times = tableBox("stts", {{2, 10}, {1, 20}});
  Bytes offsets;
  Bytes keys;
  Bytes sizes = fullBox("stsz", 0, 0, {u32(0), u32(5), u32(1), u32(2), u32(3), u32(4), u32(5)});
  Bytes chunkRuns = tableBox("stsc", {{1, 3, 1}, {2, 2, 1}});
  Bytes chunks = tableBox("stco", {{1000}, {2000}});
};

std::vector<SourceTrack> tracksOf(
    const std::function<void(Tables&)>& change = [](Tables&) {}, const Bytes& more = {}) {
  Tables tables;
  change(tables);
  const Bytes description =
      fullBox("stsd", 0, 0, {u32(1), visualEntry("avc1", 320, 180, avcConfiguration())});
  const Bytes table = box("stbl", {description, tables.times, tables.offsets, tables.keys, tables.sizes,
                                   tables.chunkRuns, tables.chunks});
  const Bytes media =
      box("mdia", {fullBox("mdhd", 0, 0, {zeros(8), u32(1000), u32(0), u16(0x55C4), u16(0)}),
                   fullBox("hdlr", 0, 0, {u32(0), text("vide"), zeros(12), u8(0)}), box("minf", {table})});
  const Bytes header = fullBox("tkhd", 0, 3, {zeros(8), u32(1), zeros(8), zeros(60)});
  const Bytes bytes = join({fileTypeBox(), box("moov", {box("trak", {header, media})}), more});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  return readTracks(stream);
}

std::string damageOf(const std::function<void(Tables&)>& change, const Bytes& more = {}) {
  try {
    tracksOf(change, more);
  } catch (const UserError& error) {
    return error.what();
  }
  return "";
}

std::vector<std::uint64_t> valuesOf(const SourceTrack& track,
                                    const std::function<std::uint64_t(const SourceSample&)>& value) {
  std::vector<std::uint64_t> values;
  for (const SourceSample sample : track.samples) values.push_back(value(sample));
  return values;
}

TEST(SourceTables, ThatEndEarlyGoOnWithTheirLastDuration) {
  const SourceTrack track = tracksOf([](Tables& tables) {
                              tables.offsets = tableBox("ctts", {{2, 7}});
                            }).at(0);
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.decodeTime; }),
              testing::ElementsAre(0, 10, 20, 40, 60));
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.offset; }),
              testing::ElementsAre(1000, 1001, 1003, 2000, 2004));
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.compositionOffset; }),
              testing::ElementsAre(7, 7, 0, 0, 0));
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.key; }),
              testing::Each(std::uint64_t{1}))
      << "without a table of them";
}

TEST(SourceTables, OfKeyFramesMayBeInAnyOrder) {
  const SourceTrack track = tracksOf([](Tables& tables) {
                              tables.keys = tableBox("stss", {{4}, {1}});
                            }).at(0);
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.key; }),
              testing::ElementsAre(1, 0, 0, 1, 0));
}

TEST(SourceTables, ChunksMayHaveRoomForMoreSamples) {
  const auto more = [](Tables& tables) { tables.chunkRuns = tableBox("stsc", {{1, 10, 1}}); };
  EXPECT_EQ(tracksOf(more).at(0).samples.size(), 5u);
}

TEST(SourceTables, ThatContradictEachOtherAreDamage) {
  EXPECT_THAT(damageOf([](Tables& tables) {
                tables.chunkRuns = tableBox("stsc", {{1, 3, 1}, {1, 5, 1}});
              }),
              HasSubstr("its runs of chunks are out of order"));
  EXPECT_THAT(damageOf([](Tables& tables) {
                tables.chunkRuns = tableBox("stsc", {{1, 2, 1}});
              }),
              HasSubstr("its chunks hold fewer samples than it has sizes of"));
  EXPECT_THAT(damageOf([](Tables& tables) {
                tables.sizes = fullBox("stsz", 0, 0, {u32(100), u32(1000)});
                tables.chunkRuns = tableBox("stsc", {{1, 500, 1}});
              }),
              HasSubstr("its samples are larger than the file"));
}

Bytes untimedFragment(std::uint32_t number, const RunSpec& run) {
  TrafSpec traf;
  traf.bare = true;
  traf.runs = {run};
  return fragment(number, {traf});
}

TEST(SourceTables, FragmentsWithoutATimeGoOnAfterWhatCameBefore) {
  const RunSpec run{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(3, 1, 5), sampleOf(3, 2, 6)}};
  const SourceTrack track =
      tracksOf([](Tables&) {}, join({untimedFragment(1, run), untimedFragment(2, run)})).at(0);
  EXPECT_THAT(valuesOf(track, [](const SourceSample& sample) { return sample.decodeTime; }),
              testing::ElementsAre(0, 10, 20, 40, 60, 80, 85, 91, 96));
}

TEST(SourceTables, FragmentsWithMoreSamplesThanBytesAreDamage) {
  RunSpec run{kRunDataOffset};
  run.count = 100'000;
  EXPECT_THAT(damageOf([](Tables&) {}, untimedFragment(1, run)),
              HasSubstr("it counts more samples than it has bytes"));
}

}  // namespace

}  // namespace fmp4
