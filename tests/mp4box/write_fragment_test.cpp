// Setting up and writing movie fragments, media data and segment indexes.
#include <gtest/gtest.h>

#include "mp4box/write.h"
#include "recording/track_number.h"
#include "recording/write/default_boxes.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

Bytes written(mp4::MovieFragment& fragment, const Mp4DataOffsets& offsets = {}) {
  Mp4MemoryOutput out;
  const std::uint32_t size = Mp4WriteMovieFragment(out, fragment, offsets);
  EXPECT_EQ(size, out.bytes.size());
  EXPECT_EQ(out.tell(), out.bytes.size());
  return out.bytes;
}

Bytes header(std::uint32_t sequence) {
  return fullBox("mfhd", 0, 0, {u32(sequence)});
}

TEST(Fragment, OfAllTracksIsSetUpWithTheFlagsOfEach) {
  auto fragment =
      Mp4SetUpFragment(7, {.video = true, .audio = true, .captions608 = true, .captions708 = true});
  const auto tfhdFlags = [&](TrackKind kind) { return fragment.tracks[kind]->tfhd.flags; };
  const auto trunFlags = [&](TrackKind kind) { return fragment.tracks[kind]->trun.flags; };
  EXPECT_EQ(fragment.mfhd.sequenceNumber, 7u);
  EXPECT_EQ(tfhdFlags(TrackKind::Video), 0x020000u);
  EXPECT_EQ(trunFlags(TrackKind::Video), 0x000E01u);
  EXPECT_EQ(tfhdFlags(TrackKind::Audio), 0x020020u);
  EXPECT_EQ(trunFlags(TrackKind::Audio), 0x000201u);
  EXPECT_EQ(tfhdFlags(TrackKind::Captions608), 0x020018u);
  EXPECT_EQ(trunFlags(TrackKind::Captions608), 0x000001u);
  EXPECT_EQ(tfhdFlags(TrackKind::Captions708), 0x020000u);
  EXPECT_EQ(trunFlags(TrackKind::Captions708), 0x000201u);
  for (const TrackKind kind : mp4::kTrackKinds) {
    EXPECT_EQ(fragment.tracks[kind]->tfhd.trackId, trackNumber(kind));
    EXPECT_EQ(fragment.tracks[kind]->tfdt.version, 0);
    EXPECT_EQ(fragment.tracks[kind]->tfdt.baseMediaDecodeTime, 0u);
    EXPECT_EQ(fragment.tracks[kind]->trun.sampleCount, 0u);
    EXPECT_EQ(fragment.tracks[kind]->trun.dataOffset, 8);
  }
}

TEST(Fragment, SetsUpOnlyTracksThatExist) {
  auto fragment = Mp4SetUpFragment(1, {.audio = true});
  EXPECT_FALSE(fragment.tracks[TrackKind::Video]);
  EXPECT_TRUE(fragment.tracks[TrackKind::Audio]);
  EXPECT_FALSE(fragment.tracks[TrackKind::Captions608]);
  EXPECT_FALSE(fragment.tracks[TrackKind::Captions708]);
}

TEST(Fragment, OfVideoOnlyPlacesItsDataAfterTheMediaDataHeader) {
  auto fragment = Mp4SetUpFragment(1, {.video = true});
  auto& video = *fragment.tracks[TrackKind::Video];
  video.tfdt.baseMediaDecodeTime = 5005;
  video.trun.addSample({.size = 700, .flags = 0x02000000, .compositionOffset = 1001});
  video.trun.addSample({.size = 300, .flags = 0x01010000, .compositionOffset = 0});
  // moof 8, mfhd 16, traf 8, tfhd 16, tfdt 16, trun 44: 108 bytes.
  EXPECT_EQ(written(fragment),
            box("moof", {header(1), box("traf", {fullBox("tfhd", 0, 0x020000, {u32(1)}),
                                                 fullBox("tfdt", 0, 0, {u32(5005)}),
                                                 fullBox("trun", 0, 0x000E01,
                                                         {u32(2), u32(108 + 8), u32(700), u32(0x02000000),
                                                          u32(1001), u32(300), u32(0x01010000), u32(0)})})}));
}

TEST(Fragment, OfFourTracksPlacesTheDataOfEach) {
  auto fragment =
      Mp4SetUpFragment(3, {.video = true, .audio = true, .captions608 = true, .captions708 = true});
  fragment.tracks[TrackKind::Video]->trun.addSample({.size = 1000});
  fragment.tracks[TrackKind::Audio]->trun.addSample({.size = 341});
  fragment.tracks[TrackKind::Audio]->tfhd.defaultSampleFlags = 0x02000000;
  fragment.tracks[TrackKind::Captions608]->tfhd.defaultSampleDuration = 1001;
  fragment.tracks[TrackKind::Captions608]->tfhd.defaultSampleSize = 10;
  fragment.tracks[TrackKind::Captions608]->trun.sampleCount = 1;
  fragment.tracks[TrackKind::Captions708]->trun.addSample({.size = 8});
  fragment.tracks[TrackKind::Captions708]->tfdt.version = 1;
  fragment.tracks[TrackKind::Captions708]->tfdt.baseMediaDecodeTime = 0x100000000;

  // moof 8, mfhd 16, then the trafs: 8 + 16 + 16 + 32, 8 + 20 + 16 + 24, 8 + 24 + 16 + 20, 8 + 16 + 20 + 24.
  const std::uint32_t size = 8 + 16 + 72 + 68 + 68 + 68;
  EXPECT_EQ(
      written(fragment, {.audio = 1000, .captions608 = 1341, .captions708 = 1351}),
      box("moof",
          {header(3),
           box("traf", {fullBox("tfhd", 0, 0x020000, {u32(1)}), fullBox("tfdt", 0, 0, {u32(0)}),
                        fullBox("trun", 0, 0x000E01, {u32(1), u32(size + 8), u32(1000), u32(0), u32(0)})}),
           box("traf",
               {fullBox("tfhd", 0, 0x020020, {u32(2), u32(0x02000000)}), fullBox("tfdt", 0, 0, {u32(0)}),
                fullBox("trun", 0, 0x000201, {u32(1), u32(size + 1008), u32(341)})}),
           box("traf",
               {fullBox("tfhd", 0, 0x020018, {u32(3), u32(1001), u32(10)}), fullBox("tfdt", 0, 0, {u32(0)}),
                fullBox("trun", 0, 0x000001, {u32(1), u32(size + 1349)})}),
           box("traf", {fullBox("tfhd", 0, 0x020000, {u32(4)}), fullBox("tfdt", 1, 0, {u64(0x100000000)}),
                        fullBox("trun", 0, 0x000201, {u32(1), u32(size + 1359), u32(8)})})}));
}

TEST(Fragment, EmptyRunHasOnlyItsHeader) {
  auto fragment = Mp4SetUpFragment(1, {.video = true});
  fragment.tracks[TrackKind::Video]->trun.flags |= mp4::TrackRunBox::kFirstSampleFlags;
  fragment.tracks[TrackKind::Video]->trun.firstSampleFlags = 0x02000000;
  EXPECT_EQ(written(fragment),
            box("moof", {header(1),
                         box("traf", {fullBox("tfhd", 0, 0x020000, {u32(1)}), fullBox("tfdt", 0, 0, {u32(0)}),
                                      fullBox("trun", 0, 0x000E05, {u32(0), u32(96), u32(0x02000000)})})}));
}

TEST(Fragment, WithABaseOffsetKeepsItsDataOffset) {
  auto fragment = Mp4SetUpFragment(1, {.video = true});
  auto& video = *fragment.tracks[TrackKind::Video];
  video.tfhd.flags |= mp4::TrackFragmentHeaderBox::kBaseDataOffset;
  video.tfhd.baseDataOffset = 0x100000000;
  EXPECT_EQ(written(fragment),
            box("moof", {header(1), box("traf", {fullBox("tfhd", 0, 0x020001, {u32(1), u64(0x100000000)}),
                                                 fullBox("tfdt", 0, 0, {u32(0)}),
                                                 fullBox("trun", 0, 0x000E01, {u32(0), u32(8)})})}));
}

TEST(Fragment, WithoutDefaultBaseIsMoofKeepsItsDataOffset) {
  auto fragment = Mp4SetUpFragment(1, {.video = true});
  fragment.tracks[TrackKind::Video]->tfhd.flags = 0;
  EXPECT_EQ(
      written(fragment),
      box("moof", {header(1), box("traf", {fullBox("tfhd", 0, 0, {u32(1)}), fullBox("tfdt", 0, 0, {u32(0)}),
                                           fullBox("trun", 0, 0x000E01, {u32(0), u32(8)})})}));
}

TEST(Fragment, RunWithoutDataOffsetIsNotPatched) {
  auto fragment = Mp4SetUpFragment(1, {.video = true});
  fragment.tracks[TrackKind::Video]->trun.flags = mp4::TrackRunBox::kSampleSize;
  fragment.tracks[TrackKind::Video]->trun.addSample({.size = 5});
  EXPECT_EQ(written(fragment),
            box("moof", {header(1),
                         box("traf", {fullBox("tfhd", 0, 0x020000, {u32(1)}), fullBox("tfdt", 0, 0, {u32(0)}),
                                      fullBox("trun", 0, 0x000200, {u32(1), u32(5)})})}));
}

TEST(Fragment, AfterOtherBytesCountsFromItsOwnStart) {
  auto fragment = Mp4SetUpFragment(1, {.audio = true});
  Mp4MemoryOutput alone, after;
  Mp4WriteMovieFragment(alone, fragment, {.audio = 5});
  Mp4WriteBytes(after, "1234567", 7);
  EXPECT_EQ(Mp4WriteMovieFragment(after, fragment, {.audio = 5}), alone.bytes.size());
  EXPECT_EQ(after.bytes, join({text("1234567"), alone.bytes}));
}

TEST(MediaData, IsAPlainBox) {
  Mp4MemoryOutput out;
  Mp4WriteMediaData(out, "abc", 3);
  EXPECT_EQ(out.bytes, box("mdat", {text("abc")}));
}

TEST(SegmentIndex, PacksItsReferences) {
  mp4::SegmentIndexBox sidx;
  sidx.referenceId = 1;
  sidx.timescale = 30000;
  sidx.earliestPresentationTime = 1001;
  sidx.references.resize(3);
  sidx.references[0] = {.referenceType = 1, .referencedSize = 0x1234, .subsegmentDuration = 30030};
  sidx.references[1] = {.referencedSize = 0xFFFFFFFF,
                        .subsegmentDuration = 9,
                        .startsWithSap = 1,
                        .sapType = 1,
                        .sapDeltaTime = 0x0ABCDEF0};
  Mp4MemoryOutput out;
  Mp4WriteSegmentIndex(out, sidx);
  EXPECT_EQ(out.bytes, fullBox("sidx", 0, 0,
                               {u32(1), u32(30000), u32(1001), u32(0), u16(0), u16(3),  //
                                u32(0x80001234), u32(30030), u32(0),                    //
                                u32(0x7FFFFFFF), u32(9), u32(0x9ABCDEF0),               //
                                zeros(12)}));
  sidx.version = 1;
  sidx.firstOffset = 0x200000000;
  sidx.references.clear();
  out = {};
  Mp4WriteSegmentIndex(out, sidx);
  EXPECT_EQ(out.bytes,
            fullBox("sidx", 1, 0, {u32(1), u32(30000), u64(1001), u64(0x200000000), u16(0), u16(0)}));
}

}  // namespace

}  // namespace fmp4
