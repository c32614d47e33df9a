// The layouts of the boxes of fragmented files, byte by byte.
#include <gmock/gmock.h>

#include "mp4box/boxes/mehd.h"
#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/mfro.h"
#include "mp4box/boxes/sdtp.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/tfra.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/trun.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

TEST(FragmentHeaders, ReadTheirFields) {
  EXPECT_EQ(readExactly<mp4::MovieFragmentHeaderBox>(join({u32(0), u32(7)})).sequenceNumber, 7u);
  EXPECT_EQ(readExactly<mp4::MovieFragmentRandomAccessOffsetBox>(join({u32(0), u32(67)})).size, 67u);
  EXPECT_THAT(readExactly<mp4::SampleDependencyTypeBox>(join({u32(0), u8(0x24), u8(0x18)})).samples,
              ElementsAre(0x24, 0x18));
  const auto trex =
      readExactly<mp4::TrackExtendsBox>(join({u32(0), u32(2), u32(1), u32(1024), u32(9), u32(0x01010000)}));
  EXPECT_EQ(trex.trackId, 2u);
  EXPECT_EQ(trex.defaultSampleDescriptionIndex, 1u);
  EXPECT_EQ(trex.defaultSampleDuration, 1024u);
  EXPECT_EQ(trex.defaultSampleSize, 9u);
  EXPECT_EQ(trex.defaultSampleFlags, 0x01010000u);
}

TEST(FragmentTimes, Have64BitsInVersion1) {
  EXPECT_EQ(readExactly<mp4::MovieExtendsHeaderBox>(join({u32(0), u32(7)})).fragmentDuration, 7u);
  EXPECT_EQ(readExactly<mp4::MovieExtendsHeaderBox>(join({u8(1), u24(0), u64(0x700000000)})).fragmentDuration,
            0x700000000u);
  EXPECT_EQ(readExactly<mp4::TrackFragmentDecodeTimeBox>(join({u32(0), u32(0xFFFFFFFF)})).baseMediaDecodeTime,
            0xFFFFFFFFu);
  EXPECT_EQ(readExactly<mp4::TrackFragmentDecodeTimeBox>(join({u8(1), u24(0), u64(0x700000000)}))
                .baseMediaDecodeTime,
            0x700000000u);
}

TEST(TrackFragmentHeader, HasTheFieldsItsFlagsSignal) {
  const auto all = readExactly<mp4::TrackFragmentHeaderBox>(
      join({u32(0x03003B), u32(1), u64(0x100000000), u32(2), u32(3), u32(4), u32(5)}));
  EXPECT_EQ(all.trackId, 1u);
  EXPECT_EQ(all.baseDataOffset, 0x100000000u);
  EXPECT_EQ(all.sampleDescriptionIndex, 2u);
  EXPECT_EQ(all.defaultSampleDuration, 3u);
  EXPECT_EQ(all.defaultSampleSize, 4u);
  EXPECT_EQ(all.defaultSampleFlags, 5u);
  const auto some =
      readExactly<mp4::TrackFragmentHeaderBox>(join({u32(0x020018), u32(3), u32(1001), u32(68)}));
  EXPECT_EQ(some.flags, mp4::TrackFragmentHeaderBox::kDefaultBaseIsMoof |
                            mp4::TrackFragmentHeaderBox::kDefaultSampleDuration |
                            mp4::TrackFragmentHeaderBox::kDefaultSampleSize);
  EXPECT_EQ(some.defaultSampleDuration, 1001u);
  EXPECT_EQ(some.defaultSampleSize, 68u);
  EXPECT_EQ(some.defaultSampleFlags, 0u);
  EXPECT_EQ(readExactly<mp4::TrackFragmentHeaderBox>(join({u32(0x030000), u32(3)})).trackId, 3u);
}

TEST(TrackRun, HasTheValuesItsFlagsSignal) {
  const auto all = readExactly<mp4::TrackRunBox>(
      join({u32(0x000F05), u32(2), u32(0xFFFFFFF8), u32(0x02000000), u32(1), u32(2), u32(3), u32(4),  //
            u32(5), u32(6), u32(7), u32(0xFFFFFFFF)}));
  EXPECT_EQ(all.sampleCount, 2u);
  EXPECT_EQ(all.dataOffset, -8);
  EXPECT_EQ(all.firstSampleFlags, 0x02000000u);
  EXPECT_EQ(all.duration(0), 1u);
  EXPECT_EQ(all.size(0), 2u);
  EXPECT_EQ(all.sampleFlags(0), 3u);
  EXPECT_EQ(all.compositionOffset(0), 4);
  EXPECT_EQ(all.duration(1), 5u);
  EXPECT_EQ(all.size(1), 6u);
  EXPECT_EQ(all.sampleFlags(1), 7u);
  EXPECT_EQ(all.compositionOffset(1), 4294967295);
  const auto some =
      readExactly<mp4::TrackRunBox>(join({u32(0x000A00), u32(2), u32(10), u32(11), u32(20), u32(21)}));
  EXPECT_FALSE(some.hasDataOffset());
  EXPECT_FALSE(some.hasFirstSampleFlags());
  EXPECT_FALSE(some.hasDuration());
  EXPECT_TRUE(some.hasSize());
  EXPECT_FALSE(some.hasFlags());
  EXPECT_TRUE(some.hasCompositionOffset());
  const auto last = some.sample(1);
  EXPECT_EQ(last.duration, 0u);
  EXPECT_EQ(last.size, 20u);
  EXPECT_EQ(last.flags, 0u);
  EXPECT_EQ(last.compositionOffset, 21);
}

TEST(TrackRun, HasSignedCompositionOffsetsInVersion1) {
  const auto run = readExactly<mp4::TrackRunBox>(join({u8(1), u24(0x000800), u32(1), u32(0xFFFFFC17)}));
  EXPECT_EQ(run.compositionOffset(0), -1001);
  EXPECT_EQ(run.sample(0).compositionOffset, -1001);
}

TEST(TrackRun, WithoutPerSampleValuesCountsAnyNumber) {
  const auto run = readExactly<mp4::TrackRunBox>(join({u32(0x000001), u32(0xFFFFFFFF), u32(8)}));
  EXPECT_EQ(run.sampleCount, 0xFFFFFFFFu);
  EXPECT_EQ(run.dataOffset, 8);
  EXPECT_EQ(run.sample(0xFFFFFFFE).size, 0u);
}

TEST(TrackRun, HoldsNoMoreSamplesThanItsBytesAllow) {
  for (std::size_t cut = 0; cut < 16; ++cut) {
    const Bytes bytes = join({u32(0x000300), u32(0xFFFFFFFF), u32(1), u32(2), zeros(cut)});
    auto run = read<mp4::TrackRunBox>(bytes);
    ASSERT_EQ(run.sampleCount, 1 + cut / 8);
    EXPECT_EQ(run.size(0), 2u);
    EXPECT_EQ(bytesOf(run), join({u32(0x000300), u32(run.sampleCount), u32(1), u32(2), zeros(cut / 8 * 8)}));
  }
}

TEST(TrackRun, IsBuiltSampleBySample) {
  mp4::TrackRunBox run;
  run.flags =
      mp4::TrackRunBox::kSampleSize | mp4::TrackRunBox::kSampleFlags | mp4::TrackRunBox::kCompositionOffset;
  run.addSample({.duration = 9, .size = 100, .flags = 0x02000000, .compositionOffset = 1001});
  run.addSample({.duration = 9, .size = 200, .flags = 0x01010000, .compositionOffset = 0});
  run.addSample({.duration = 9, .size = 300, .flags = 0x01010000, .compositionOffset = -1001});
  EXPECT_EQ(bytesOf(run), join({u32(0x000E00), u32(3), u32(100), u32(0x02000000), u32(1001), u32(200),
                                u32(0x01010000), u32(0), u32(300), u32(0x01010000), u32(0xFFFFFC17)}));
  run.setSample(1, {.duration = 0, .size = 201, .flags = 0, .compositionOffset = 5});
  run.dropFirst(1);
  EXPECT_EQ(run.sampleCount, 2u);
  run.resize(3);
  EXPECT_EQ(bytesOf(run), join({u32(0x000E00), u32(3), u32(201), u32(0), u32(5), u32(300), u32(0x01010000),
                                u32(0xFFFFFC17), zeros(12)}));
  run.dropFirst(4);
  EXPECT_EQ(bytesOf(run), join({u32(0x000E00), u32(0)}));
}

const Bytes kReferences =
    join({u32(0x00001234), u32(30030), u32(0), u32(0x80000010), u32(7), u32(0x90000005)});

TEST(SegmentIndex, Has32BitTimesInVersion0) {
  const auto sidx = readExactly<mp4::SegmentIndexBox>(
      join({u32(0), u32(1), u32(30000), u32(1001), u32(12), u16(0), u16(2), kReferences}));
  EXPECT_EQ(sidx.referenceId, 1u);
  EXPECT_EQ(sidx.timescale, 30000u);
  EXPECT_EQ(sidx.earliestPresentationTime, 1001u);
  EXPECT_EQ(sidx.firstOffset, 12u);
  ASSERT_EQ(sidx.references.size(), 2u);
  EXPECT_EQ(sidx.references[0].referenceType, 0u);
  EXPECT_EQ(sidx.references[0].referencedSize, 0x1234u);
  EXPECT_EQ(sidx.references[0].subsegmentDuration, 30030u);
  EXPECT_EQ(sidx.references[0].startsWithSap, 0u);
  EXPECT_EQ(sidx.references[1].referenceType, 1u);
  EXPECT_EQ(sidx.references[1].referencedSize, 16u);
  EXPECT_EQ(sidx.references[1].startsWithSap, 1u);
  EXPECT_EQ(sidx.references[1].sapType, 1u);
  EXPECT_EQ(sidx.references[1].sapDeltaTime, 5u);
}

TEST(SegmentIndex, Has64BitTimesInVersion1) {
  const auto sidx = readExactly<mp4::SegmentIndexBox>(join(
      {u8(1), u24(0), u32(1), u32(30000), u64(0x100000001), u64(0x200000002), u16(0), u16(2), kReferences}));
  EXPECT_EQ(sidx.earliestPresentationTime, 0x100000001u);
  EXPECT_EQ(sidx.firstOffset, 0x200000002u);
  EXPECT_EQ(sidx.references.size(), 2u);
}

TEST(SegmentIndex, HoldsNoMoreReferencesThanItsBytesAllow) {
  EXPECT_EQ(read<mp4::SegmentIndexBox>(join({zeros(20), u16(0), u16(0xFFFF), kReferences, zeros(11)}))
                .references.size(),
            2u);
}

TEST(TrackFragmentRandomAccess, HasNumbersOfAnyWidth) {
  const auto narrow = readExactly<mp4::TrackFragmentRandomAccessBox>(
      join({u32(0), u32(1), u32(0), u32(1), u32(90), u32(1234), u8(1), u8(2), u8(3)}));
  ASSERT_EQ(narrow.entries.size(), 1u);
  EXPECT_EQ(narrow.trackId, 1u);
  EXPECT_EQ(narrow.entries[0].time, 90u);
  EXPECT_EQ(narrow.entries[0].moofOffset, 1234u);
  EXPECT_EQ(narrow.entries[0].trafNumber, 1u);
  EXPECT_EQ(narrow.entries[0].trunNumber, 2u);
  EXPECT_EQ(narrow.entries[0].sampleNumber, 3u);
  const auto wide = readExactly<mp4::TrackFragmentRandomAccessBox>(
      join({u8(1), u24(0), u32(1), u32(0x1B), u32(2), u64(90), u64(0x100000000), u16(0x0102), u24(0x030405),
            u32(0x06070809), u64(91), u64(92), u16(1), u24(2), u32(3)}));
  EXPECT_EQ(wide.lengthSizeOfTrafNum, 1u);
  EXPECT_EQ(wide.lengthSizeOfTrunNum, 2u);
  EXPECT_EQ(wide.lengthSizeOfSampleNum, 3u);
  ASSERT_EQ(wide.entries.size(), 2u);
  EXPECT_EQ(wide.entries[0].moofOffset, 0x100000000u);
  EXPECT_EQ(wide.entries[0].trafNumber, 0x0102u);
  EXPECT_EQ(wide.entries[0].trunNumber, 0x030405u);
  EXPECT_EQ(wide.entries[0].sampleNumber, 0x06070809u);
}

}  // namespace

}  // namespace fmp4
