// The layouts of the boxes under "moov", byte by byte.
#include <gmock/gmock.h>

#include "base/fourcc.h"
#include "mp4box/boxes/chap.h"
#include "mp4box/boxes/chpl.h"
#include "mp4box/boxes/ctts.h"
#include "mp4box/boxes/elst.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/hmhd.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/meta.h"
#include "mp4box/boxes/mvhd.h"
#include "mp4box/boxes/padb.h"
#include "mp4box/boxes/pasp.h"
#include "mp4box/boxes/smhd.h"
#include "mp4box/boxes/stco.h"
#include "mp4box/boxes/stdp.h"
#include "mp4box/boxes/stsc.h"
#include "mp4box/boxes/stsh.h"
#include "mp4box/boxes/stss.h"
#include "mp4box/boxes/stsz.h"
#include "mp4box/boxes/stts.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/url.h"
#include "mp4box/boxes/urn.h"
#include "mp4box/boxes/vmhd.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

const Bytes kMatrix = join({u32(0x00010000), zeros(12), u32(0x00010000), zeros(12), u32(0x40000000)});

TEST(FileType, ListsBrandsToTheEnd) {
  const auto ftyp = readExactly<mp4::FileTypeBox>(join({text("isom"), u32(512), text("isomiso2")}));
  EXPECT_EQ(ftyp.majorBrand, Mp4FourCc("isom"));
  EXPECT_EQ(ftyp.minorVersion, 512u);
  EXPECT_THAT(ftyp.compatibleBrands, ElementsAre(Mp4FourCc("isom"), Mp4FourCc("iso2")));
}

TEST(MovieHeader, HasTimesOf32BitsInVersion0) {
  const auto mvhd =
      readExactly<mp4::MovieHeaderBox>(join({u32(0), u32(1), u32(2), u32(90000), u32(3), u32(0x00010000),
                                             u16(0x0100), zeros(10), kMatrix, zeros(24), u32(7)}));
  EXPECT_EQ(mvhd.creationTime, 1u);
  EXPECT_EQ(mvhd.modificationTime, 2u);
  EXPECT_EQ(mvhd.timescale, 90000u);
  EXPECT_EQ(mvhd.duration, 3u);
  EXPECT_EQ(mvhd.rate, 0x00010000u);
  EXPECT_EQ(mvhd.volume, 0x0100);
  EXPECT_EQ(mvhd.matrix, mp4::kUnityMatrix);
  EXPECT_EQ(mvhd.nextTrackId, 7u);
}

TEST(MovieHeader, HasTimesOf64BitsInVersion1) {
  const auto mvhd = readExactly<mp4::MovieHeaderBox>(
      join({u8(1), u24(0), u64(0x100000001), u64(0x100000002), u32(90000), u64(0x100000003), u32(0x00010000),
            u16(0x0100), zeros(10), kMatrix, zeros(24), u32(7)}));
  EXPECT_EQ(mvhd.creationTime, 0x100000001u);
  EXPECT_EQ(mvhd.modificationTime, 0x100000002u);
  EXPECT_EQ(mvhd.duration, 0x100000003u);
  EXPECT_EQ(mvhd.nextTrackId, 7u);
}

TEST(TrackHeader, HasTimesOf32BitsInVersion0) {
  const auto tkhd = readExactly<mp4::TrackHeaderBox>(
      join({u32(3), u32(1), u32(2), u32(5), u32(0), u32(900), zeros(8), u16(0xFFFF), u16(2), u16(0x0100),
            u16(0), kMatrix, u32(1280 << 16), u32(720 << 16)}));
  EXPECT_EQ(tkhd.flags, 3u);
  EXPECT_EQ(tkhd.trackId, 5u);
  EXPECT_EQ(tkhd.duration, 900u);
  EXPECT_EQ(tkhd.layer, -1);
  EXPECT_EQ(tkhd.alternateGroup, 2);
  EXPECT_EQ(tkhd.volume, 0x0100);
  EXPECT_EQ(tkhd.width, 1280u << 16);
  EXPECT_EQ(tkhd.height, 720u << 16);
}

TEST(TrackHeader, HasTimesOf64BitsInVersion1) {
  const auto tkhd = readExactly<mp4::TrackHeaderBox>(
      join({u8(1), u24(3), u64(1), u64(2), u32(5), u32(0), u64(0x9000000000), zeros(16), kMatrix, zeros(8)}));
  EXPECT_EQ(tkhd.trackId, 5u);
  EXPECT_EQ(tkhd.duration, 0x9000000000u);
}

TEST(MediaHeader, ReadsBothVersions) {
  const auto narrow = readExactly<mp4::MediaHeaderBox>(
      join({u32(0), u32(1), u32(2), u32(25000), u32(4), u16(0x55C4), u16(0)}));
  EXPECT_EQ(narrow.timescale, 25000u);
  EXPECT_EQ(narrow.duration, 4u);
  EXPECT_EQ(narrow.language, 0x55C4);
  const auto wide = readExactly<mp4::MediaHeaderBox>(
      join({u8(1), u24(0), u64(1), u64(2), u32(25000), u64(0x400000000), u16(0x15C7), u16(0)}));
  EXPECT_EQ(wide.timescale, 25000u);
  EXPECT_EQ(wide.duration, 0x400000000u);
  EXPECT_EQ(wide.language, 0x15C7);
}

TEST(Handler, EndsItsNameWithAZero) {
  const auto hdlr =
      readExactly<mp4::HandlerBox>(join({u32(0), u32(0), text("vide"), zeros(12), text("Video"), u8(0)}));
  EXPECT_EQ(hdlr.handlerType, Mp4FourCc("vide"));
  EXPECT_EQ(hdlr.name, "Video");
  EXPECT_FALSE(hdlr.countedName);
}

TEST(Handler, ReadsACountedQuickTimeName) {
  const auto hdlr = readExactly<mp4::HandlerBox>(
      join({u32(0), text("mhlr"), text("soun"), text("appl"), zeros(8), u8(5), text("Sound")}));
  EXPECT_EQ(hdlr.preDefined, Mp4FourCc("mhlr"));
  EXPECT_EQ(hdlr.reserved[0], Mp4FourCc("appl"));
  EXPECT_EQ(hdlr.name, "Sound");
  EXPECT_TRUE(hdlr.countedName);
}

TEST(Handler, ReadsANameWhoseFirstLetterLooksLikeItsLength) {
  // "A" is 65: a name of 65 characters including its terminating zero.
  const std::string name(65, 'A');
  const auto hdlr =
      readExactly<mp4::HandlerBox>(join({u32(0), u32(0), text("vide"), zeros(12), text(name), u8(0)}));
  EXPECT_EQ(hdlr.name, name);
  EXPECT_FALSE(hdlr.countedName);
}

TEST(Handler, KeepsTheBytesAfterItsName) {
  const auto hdlr = readExactly<mp4::HandlerBox>(
      join({u32(0), u32(0), text("mdir"), text("appl"), zeros(8), u8(0), u8(0)}));
  EXPECT_EQ(hdlr.name, "");
  EXPECT_THAT(hdlr.padding, ElementsAre(0));
}

TEST(Handler, MayLackItsName) {
  const auto hdlr = read<mp4::HandlerBox>(join({u32(0), u32(0), text("url "), zeros(12)}));
  EXPECT_EQ(hdlr.handlerType, Mp4FourCc("url "));
  EXPECT_EQ(hdlr.name, "");
}

TEST(MediaHeaders, ReadTheirFields) {
  const auto vmhd = readExactly<mp4::VideoMediaHeaderBox>(join({u32(1), u16(0x40), u16(1), u16(2), u16(3)}));
  EXPECT_EQ(vmhd.flags, 1u);
  EXPECT_EQ(vmhd.graphicsMode, 0x40);
  EXPECT_THAT(vmhd.opColor, ElementsAre(1, 2, 3));
  const auto smhd = readExactly<mp4::SoundMediaHeaderBox>(join({u32(0), u16(0xFF00), u16(0)}));
  EXPECT_EQ(smhd.balance, -256);
  const auto hmhd = readExactly<mp4::HintMediaHeaderBox>(
      join({u32(0), u16(1450), u16(1000), u32(64000), u32(48000), u32(0)}));
  EXPECT_EQ(hmhd.maxPduSize, 1450);
  EXPECT_EQ(hmhd.avgPduSize, 1000);
  EXPECT_EQ(hmhd.maxBitrate, 64000u);
  EXPECT_EQ(hmhd.avgBitrate, 48000u);
}

TEST(DataEntryUrl, StoresALocationOnlyWithoutFlagsAndWhenSet) {
  EXPECT_EQ(readExactly<mp4::DataEntryUrlBox>(u32(1)).location, std::nullopt);
  EXPECT_EQ(readExactly<mp4::DataEntryUrlBox>(u32(0)).location, std::nullopt);
  EXPECT_EQ(readExactly<mp4::DataEntryUrlBox>(join({u32(0), u8(0)})).location, "");
  EXPECT_EQ(readExactly<mp4::DataEntryUrlBox>(join({u32(0), text("file:a"), u8(0)})).location, "file:a");
  mp4::DataEntryUrlBox url;
  url.location = "file:a";
  url.flags = mp4::DataEntryUrlBox::kSameFile;
  EXPECT_EQ(bytesOf(url), u32(1));
}

TEST(DataEntryUrn, HasANameAndAnOptionalLocation) {
  const auto name = readExactly<mp4::DataEntryUrnBox>(join({u32(0), text("urn:x"), u8(0)}));
  EXPECT_EQ(name.name, "urn:x");
  EXPECT_EQ(name.location, std::nullopt);
  const auto both = readExactly<mp4::DataEntryUrnBox>(join({u32(0), text("urn:x"), u8(0), text("y"), u8(0)}));
  EXPECT_EQ(both.location, "y");
}

TEST(SampleTables, ReadTheirEntries) {
  const auto stts =
      readExactly<mp4::TimeToSampleBox>(join({u32(0), u32(2), u32(3), u32(1001), u32(1), u32(5)}));
  ASSERT_EQ(stts.entries.size(), 2u);
  EXPECT_EQ(stts.entries[0].sampleCount, 3u);
  EXPECT_EQ(stts.entries[0].sampleDelta, 1001u);
  EXPECT_EQ(stts.entries[1].sampleDelta, 5u);
  const auto stsc = readExactly<mp4::SampleToChunkBox>(join({u32(0), u32(1), u32(1), u32(30), u32(2)}));
  ASSERT_EQ(stsc.entries.size(), 1u);
  EXPECT_EQ(stsc.entries[0].firstChunk, 1u);
  EXPECT_EQ(stsc.entries[0].samplesPerChunk, 30u);
  EXPECT_EQ(stsc.entries[0].sampleDescriptionIndex, 2u);
  const auto stsh = readExactly<mp4::ShadowSyncSampleBox>(join({u32(0), u32(1), u32(8), u32(9)}));
  ASSERT_EQ(stsh.entries.size(), 1u);
  EXPECT_EQ(stsh.entries[0].shadowedSampleNumber, 8u);
  EXPECT_EQ(stsh.entries[0].syncSampleNumber, 9u);
  EXPECT_THAT(readExactly<mp4::SyncSampleBox>(join({u32(0), u32(2), u32(1), u32(31)})).sampleNumbers,
              ElementsAre(1u, 31u));
  EXPECT_THAT(readExactly<mp4::DegradationPriorityBox>(join({u32(0), u16(1), u16(2)})).priorities,
              ElementsAre(1, 2));
  EXPECT_THAT(readExactly<mp4::ChunkOffsetBox>(join({u32(0), u32(2), u32(48), u32(0xFFFFFFFF)})).chunkOffsets,
              ElementsAre(48u, 0xFFFFFFFFu));
  EXPECT_THAT(readExactly<mp4::ChunkLargeOffsetBox>(join({u32(0), u32(1), u64(0x100000000)})).chunkOffsets,
              ElementsAre(0x100000000u));
}

TEST(SampleTables, HoldNoMoreEntriesThanTheBytesAllow) {
  EXPECT_EQ(
      read<mp4::TimeToSampleBox>(join({u32(0), u32(0xFFFFFFFF), u32(3), u32(1001), u32(1)})).entries.size(),
      1u);
  EXPECT_EQ(
      read<mp4::ChunkLargeOffsetBox>(join({u32(0), u32(0xFFFFFFFF), u64(1), u32(1)})).chunkOffsets.size(),
      1u);
  EXPECT_EQ(read<mp4::SyncSampleBox>(join({u32(0), u32(0xFFFFFFFF), u32(1)})).sampleNumbers.size(), 1u);
}

TEST(CompositionOffset, IsUnsignedInVersion0AndSignedInVersion1) {
  const Bytes entries = join({u32(1), u32(4), u32(0xFFFFFC17)});
  EXPECT_EQ(readExactly<mp4::CompositionOffsetBox>(join({u32(0), entries})).entries.at(0).sampleOffset,
            4294966295);
  EXPECT_EQ(readExactly<mp4::CompositionOffsetBox>(join({u8(1), u24(0), entries})).entries.at(0).sampleOffset,
            -1001);
}

TEST(SampleSize, HasATableOnlyWithoutACommonSize) {
  const auto own = readExactly<mp4::SampleSizeBox>(join({u32(0), u32(0), u32(2), u32(10), u32(20)}));
  EXPECT_EQ(own.sampleCount, 2u);
  EXPECT_THAT(own.entrySizes, ElementsAre(10u, 20u));
  const auto common = readExactly<mp4::SampleSizeBox>(join({u32(0), u32(4), u32(0xFFFFFFFF)}));
  EXPECT_EQ(common.sampleSize, 4u);
  EXPECT_EQ(common.sampleCount, 0xFFFFFFFFu);
  EXPECT_TRUE(common.entrySizes.empty());
  const auto cut = read<mp4::SampleSizeBox>(join({u32(0), u32(0), u32(0xFFFFFFFF), u32(10), u16(0)}));
  EXPECT_EQ(cut.sampleCount, 1u);
  EXPECT_THAT(cut.entrySizes, ElementsAre(10u));
}

TEST(PaddingBits, PacksTwoSamplesPerByte) {
  const auto padb = readExactly<mp4::PaddingBitsBox>(join({u32(0), u32(3), u8(0x17), u8(0x20)}));
  EXPECT_EQ(padb.sampleCount, 3u);
  EXPECT_THAT(padb.pads, ElementsAre(0x17, 0x20));
  EXPECT_EQ(read<mp4::PaddingBitsBox>(join({u32(0), u32(0xFFFFFFFF), u8(0x17)})).sampleCount, 2u);
}

TEST(EditList, ReadsBothVersions) {
  const auto narrow =
      readExactly<mp4::EditListBox>(join({u32(0), u32(1), u32(5000), u32(0xFFFFFFFF), u16(1), u16(0)}));
  ASSERT_EQ(narrow.entries.size(), 1u);
  EXPECT_EQ(narrow.entries[0].segmentDuration, 5000u);
  EXPECT_EQ(narrow.entries[0].mediaTime, -1);
  EXPECT_EQ(narrow.entries[0].mediaRateInteger, 1);
  const auto wide = readExactly<mp4::EditListBox>(
      join({u8(1), u24(0), u32(1), u64(0x500000000), u64(0x600000000), u16(1), u16(2)}));
  ASSERT_EQ(wide.entries.size(), 1u);
  EXPECT_EQ(wide.entries[0].segmentDuration, 0x500000000u);
  EXPECT_EQ(wide.entries[0].mediaTime, 0x600000000);
  EXPECT_EQ(wide.entries[0].mediaRateFraction, 2);
}

TEST(Meta, HasVersionAndFlagsUnlessItsHandlerComesFirst) {
  const Bytes handler = join({u32(33), text("hdlr"), zeros(25)});
  mp4::MetaBox meta;
  const Bytes standard = join({u32(0), handler});
  Mp4FieldReader fields(standard);
  meta.fields(fields);
  EXPECT_FALSE(meta.plain);
  EXPECT_EQ(fields.consumed(), 4u);
  Mp4FieldReader plain(handler);
  meta.fields(plain);
  EXPECT_TRUE(meta.plain);
  EXPECT_EQ(plain.consumed(), 0u);
  EXPECT_EQ(bytesOf(meta), Bytes{});
}

TEST(PixelAspectRatio, HasTwoSpacings) {
  const auto pasp = readExactly<mp4::PixelAspectRatioBox>(join({u32(40), u32(33)}));
  EXPECT_EQ(pasp.hSpacing, 40u);
  EXPECT_EQ(pasp.vSpacing, 33u);
}

TEST(ChapterReference, ListsTracks) {
  EXPECT_THAT(readExactly<mp4::ChapterReferenceBox>(join({u32(3), u32(4)})).trackIds, ElementsAre(3u, 4u));
}

TEST(ChapterList, ReadsBothVersions) {
  const Bytes chapters = join({u8(2), u64(0), u8(5), text("Start"), u64(600000000), u8(0)});
  const auto wide = readExactly<mp4::ChapterListBox>(join({u8(1), u24(0), u32(0), chapters}));
  ASSERT_EQ(wide.chapters.size(), 2u);
  EXPECT_EQ(wide.chapters[0].title, "Start");
  EXPECT_EQ(wide.chapters[1].start, 600000000u);
  EXPECT_EQ(wide.chapters[1].title, "");
  EXPECT_EQ(readExactly<mp4::ChapterListBox>(join({u32(0), chapters})).chapters.size(), 2u);
}

}  // namespace

}  // namespace fmp4
