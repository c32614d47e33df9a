#include "tool/export/annexb.h"

#include <gtest/gtest.h>

#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

const Bytes kStart = {0, 0, 0, 1};
const Bytes kSps = {0x67, 1, 2}, kPps = {0x68, 3}, kDelimiter = {0x09, 0xF0}, kSlice = {0x65, 9, 9};

// An AVC configuration with one sequence and one picture parameter set.
Bytes avcConfiguration(unsigned lengthBytes) {
  return box("avcC", {u8(1), kSps, u8(0xFC | (lengthBytes - 1)), u8(0xE1), u16(kSps.size()), kSps, u8(1),
                      u16(kPps.size()), kPps});
}
Bytes hevcConfiguration() {
  return box("hvcC", {u8(1), zeros(20), u8(0xF3), u8(2), u8(0xA0), u16(1), u16(2), u16(0x4001), u8(0xA1),
                      u16(2), u16(2), u16(0x4201), u16(2), u16(0x4202)});
}
Bytes unit(const Bytes& bytes, unsigned lengthBytes = 4) {
  return join({number(bytes.size(), lengthBytes), bytes});
}

TEST(AnnexB, ReplacesLengthsByStartCodes) {
  const auto annexB = AnnexB::fromConfiguration(avcConfiguration(4));
  ASSERT_TRUE(annexB);
  Bytes stream = {0xAA};
  ASSERT_TRUE(annexB->append(join({unit(kSlice), unit({0x41})}), false, stream));
  EXPECT_EQ(stream, join({{0xAA}, kStart, kSlice, kStart, {0x41}}));
}

TEST(AnnexB, PutsParameterSetsBeforeAKeyFrame) {
  const auto annexB = AnnexB::fromConfiguration(avcConfiguration(4));
  ASSERT_TRUE(annexB);
  Bytes stream;
  ASSERT_TRUE(annexB->append(unit(kSlice), true, stream));
  EXPECT_EQ(stream, join({kStart, kSps, kStart, kPps, kStart, kSlice}));
}

TEST(AnnexB, KeepsTheAccessUnitDelimiterFirst) {
  const auto annexB = AnnexB::fromConfiguration(avcConfiguration(4));
  ASSERT_TRUE(annexB);
  Bytes stream;
  ASSERT_TRUE(annexB->append(join({unit(kDelimiter), unit(kSlice), unit(kSlice)}), true, stream));
  EXPECT_EQ(stream, join({kStart, kDelimiter, kStart, kSps, kStart, kPps, kStart, kSlice, kStart, kSlice}));
}

TEST(AnnexB, ReadsTheLengthSizeFromTheConfiguration) {
  for (const unsigned lengthBytes : {1u, 2u, 3u, 4u}) {
    const auto annexB = AnnexB::fromConfiguration(avcConfiguration(lengthBytes));
    ASSERT_TRUE(annexB);
    Bytes stream;
    ASSERT_TRUE(annexB->append(join({unit(kSlice, lengthBytes), unit({0x41}, lengthBytes)}), false, stream));
    EXPECT_EQ(stream, join({kStart, kSlice, kStart, {0x41}})) << lengthBytes;
  }
}

TEST(AnnexB, WritesTheParameterSetsOfAllHevcArrays) {
  const auto annexB = AnnexB::fromConfiguration(hevcConfiguration());
  ASSERT_TRUE(annexB);
  const Bytes delimiter = {0x46, 0x01, 0x10}, slice = {0x26, 0x01};
  Bytes stream;
  ASSERT_TRUE(annexB->append(join({unit(delimiter), unit(slice)}), true, stream));
  EXPECT_EQ(stream, join({kStart,
                          delimiter,
                          kStart,
                          {0x40, 0x01},
                          kStart,
                          {0x42, 0x01},
                          kStart,
                          {0x42, 0x02},
                          kStart,
                          slice}));
}

TEST(AnnexB, SkipsEmptyUnits) {
  const auto annexB = AnnexB::fromConfiguration(avcConfiguration(4));
  ASSERT_TRUE(annexB);
  Bytes stream;
  ASSERT_TRUE(annexB->append(join({u32(0), unit(kSlice), u32(0)}), false, stream));
  EXPECT_EQ(stream, join({kStart, kSlice}));
}

TEST(AnnexB, RefusesLengthsPastTheSampleEnd) {
  const auto annexB = AnnexB::fromConfiguration(avcConfiguration(4));
  ASSERT_TRUE(annexB);
  const Bytes before = {0xAA};
  for (const Bytes& sample :
       {join({unit(kSlice), u32(1)}), join({u32(0xFFFFFFFF), kSlice}), join({unit(kSlice), u16(0)}), u8(0)}) {
    Bytes stream = before;
    EXPECT_FALSE(annexB->append(sample, true, stream));
    EXPECT_EQ(stream, before);
  }
}

TEST(AnnexB, RefusesTruncatedConfigurations) {
  for (const Bytes& entire : {avcConfiguration(4), hevcConfiguration()}) {
    EXPECT_TRUE(AnnexB::fromConfiguration(entire));
    for (std::size_t size = 0; size < entire.size(); ++size)
      EXPECT_FALSE(AnnexB::fromConfiguration(std::span(entire).first(size))) << size;
  }
}

TEST(AnnexB, RefusesConfigurationsOfOtherCodecs) {
  EXPECT_FALSE(AnnexB::fromConfiguration(box("esds", {zeros(64)})));
}

}  // namespace

}  // namespace fmp4
