// The layouts of metadata and of QuickTime's own boxes, byte by byte.
#include <gmock/gmock.h>

#include "base/fourcc.h"
#include "mp4box/boxes/cmvd.h"
#include "mp4box/boxes/cprt.h"
#include "mp4box/boxes/dcom.h"
#include "mp4box/boxes/frma.h"
#include "mp4box/boxes/gnre.h"
#include "mp4box/boxes/name.h"
#include "mp4box/boxes/opaque.h"
#include "mp4box/boxes/rdrf.h"
#include "mp4box/boxes/rmdr.h"
#include "mp4box/boxes/rmqu.h"
#include "mp4box/boxes/rmvc.h"
#include "mp4box/boxes/skcr.h"
#include "mp4box/boxes/text_item.h"
#include "mp4box/boxes/trkn.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

TEST(TextItem, ReadsUserDataText) {
  const auto item = readExactly<mp4::TextItem>(join({u16(5), u16(0x55C4), text("Title")}));
  EXPECT_FALSE(item.data);
  EXPECT_EQ(item.language, 0x55C4);
  EXPECT_EQ(item.text, "Title");
}

TEST(TextItem, ReadsTheFirstOfUserDataTextsInSeveralLanguages) {
  const Bytes second = join({u16(5), u16(2), text("Titel")});
  const auto item = readExactly<mp4::TextItem>(join({u16(5), u16(1), text("Title"), second}));
  EXPECT_EQ(item.text, "Title");
  EXPECT_EQ(item.others, second);
}

TEST(TextItem, ReadsAnItemOfAnItemList) {
  const auto item = readExactly<mp4::TextItem>(join({u32(21), text("data"), u32(1), u32(0), text("Title")}));
  ASSERT_TRUE(item.data);
  EXPECT_EQ(item.data->typeIndicator, 1u);
  EXPECT_EQ(item.text, "Title");
}

TEST(TextItem, TruncatesUserDataTextToTheBytesPresent) {
  EXPECT_EQ(read<mp4::TextItem>(join({u16(500), u16(1), text("Title")})).text, "Title");
}

TEST(Items, HoldNumbersInADataBox) {
  const auto gnre = readExactly<mp4::GenreBox>(join({u32(18), text("data"), u32(0), u32(0), u16(18)}));
  EXPECT_EQ(gnre.data.size, 18u);
  EXPECT_EQ(gnre.data.type, Mp4FourCc("data"));
  EXPECT_EQ(gnre.genre, 18);
  const auto trkn = readExactly<mp4::TrackNumberBox>(
      join({u32(24), text("data"), u32(0), u32(0), u16(0), u16(3), u16(12), u16(0)}));
  EXPECT_EQ(trkn.track, 3);
  EXPECT_EQ(trkn.total, 12);
  EXPECT_EQ(trkn.padding.size(), 2u);
}

TEST(Copyright, KeepsItsNoticeAsStored) {
  const auto cprt = readExactly<mp4::CopyrightBox>(join({u32(0), u16(0x15C7), text("(c) me"), u8(0)}));
  EXPECT_EQ(cprt.language, 0x15C7);
  EXPECT_EQ(cprt.notice, std::string("(c) me\0", 7));
  readExactly<mp4::CopyrightBox>(join({u32(0), u16(0), Bytes{0xFE, 0xFF, 0, 'a', 0, 0}}));
}

TEST(Name, IsTheEntirePayload) {
  EXPECT_EQ(readExactly<mp4::NameBox>(text("Track")).name, "Track");
}

TEST(Opaque, KeepsNothing) {
  mp4::OpaqueBox opaque = read<mp4::OpaqueBox>(text("secret"));
  EXPECT_EQ(bytesOf(opaque), Bytes{});
}

TEST(CompressedMovie, ReadsMethodAndData) {
  EXPECT_EQ(readExactly<mp4::DataCompressionBox>(text("zlib")).algorithm, Mp4FourCc("zlib"));
  const auto cmvd = readExactly<mp4::CompressedMovieDataBox>(join({u32(900), text("xyz")}));
  EXPECT_EQ(cmvd.uncompressedSize, 900u);
  EXPECT_THAT(cmvd.data, ElementsAre('x', 'y', 'z'));
}

TEST(ReferenceMovie, ReadsItsParts) {
  const auto rdrf = readExactly<mp4::ReferenceMovieDataReferenceBox>(
      join({u32(0), text("url "), u32(4), text("a.m"), u8(0)}));
  EXPECT_EQ(rdrf.referenceType, Mp4FourCc("url "));
  EXPECT_THAT(rdrf.reference, ElementsAre('a', '.', 'm', 0));
  EXPECT_EQ(readExactly<mp4::ReferenceMovieDataRateBox>(join({u32(0), u32(5600)})).dataRate, 5600u);
  EXPECT_EQ(readExactly<mp4::ReferenceMovieQualityBox>(u32(3)).quality, 3u);
  const auto rmvc = readExactly<mp4::ReferenceMovieVersionCheckBox>(
      join({u32(0), text("qtim"), u32(0x06000000), u32(0xFFFF0000), u16(1)}));
  EXPECT_EQ(rmvc.softwarePackage, Mp4FourCc("qtim"));
  EXPECT_EQ(rmvc.softwareVersion, 0x06000000u);
  EXPECT_EQ(rmvc.mask, 0xFFFF0000u);
  EXPECT_EQ(rmvc.checkType, 1);
}

TEST(Protection, ReadsOriginalFormatAndPattern) {
  EXPECT_EQ(readExactly<mp4::OriginalFormatBox>(text("avc1")).dataFormat, Mp4FourCc("avc1"));
  const auto skcr = readExactly<mp4::SkipCryptBox>(join({u32(1), u32(2), u32(3)}));
  EXPECT_EQ(skcr.initialBytes, 1u);
  EXPECT_EQ(skcr.encryptedBytes, 2u);
  EXPECT_EQ(skcr.clearBytes, 3u);
}

}  // namespace

}  // namespace fmp4
