#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "mediafile.h"

namespace fmp4 {

namespace {

std::uint32_t check(const std::vector<std::uint8_t>& area) {
  return mfCheck608708(area.data(), static_cast<std::uint32_t>(area.size()));
}

// A CEA-608 pair, then an ancillary packet of `count` bytes around a caption distribution packet that states
// `length` and has `size` bytes.
std::vector<std::uint8_t> ancillary(std::uint8_t count, std::uint8_t length, std::size_t size) {
  std::vector<std::uint8_t> area = {0x94, 0x2C, 0, 0, 0x61, 0x01, count, 0x96, 0x69, length};
  area.resize(7 + size);
  return area;
}

TEST(Captions, ConsistentAncillaryPacketIsValid) {
  EXPECT_EQ(check(ancillary(20, 20, 20)), VL_OK);
}

TEST(Captions, DataCountThatIsNotThePacketLengthIsInvalid) {
  EXPECT_EQ(check(ancillary(19, 20, 20)), VL_FAILED);
  EXPECT_EQ(check(ancillary(21, 20, 21)), VL_FAILED);
}

TEST(Captions, AncillaryPacketThatOverrunsTheAreaIsInvalid) {
  EXPECT_EQ(check(ancillary(21, 21, 20)), VL_FAILED);
  EXPECT_EQ(check(ancillary(255, 255, 20)), VL_FAILED);
}

TEST(Captions, BarePacketMustFitTheArea) {
  EXPECT_EQ(check({0, 0, 0, 0, 0x96, 0x69, 5, 1, 2}), VL_OK);
  EXPECT_EQ(check({0, 0, 0, 0, 0x96, 0x69, 6, 1, 2}), VL_FAILED);
}

TEST(Captions, OtherCaptionDataIsValid) {
  EXPECT_EQ(check({0, 0, 0, 0, 0x03, 0xFF, 0x80, 0x80}), VL_OK);
  EXPECT_EQ(check({0x94, 0x2C}), VL_OK);
  EXPECT_EQ(check({0, 0, 0, 0, 0x96, 0x69}), VL_OK);
}

TEST(Captions, MissingAndOversizedAreasAreInvalid) {
  EXPECT_EQ(mfCheck608708(nullptr, 0), VL_FAILED);
  EXPECT_EQ(check(std::vector<std::uint8_t>(sizeof(DFRAME::captions))), VL_OK);
  EXPECT_EQ(check(std::vector<std::uint8_t>(sizeof(DFRAME::captions) + 1)), VL_FAILED);
}

TEST(Captions, APacketWithoutItsLengthIsNoPacket) {
  const std::uint8_t area[] = {0, 0, 0, 0, 0x96, 0x69, 200, 0};
  EXPECT_EQ(mfCheck608708(area, 6), VL_OK);
  EXPECT_EQ(mfCheck608708(area, 7), VL_FAILED);
}

}  // namespace

}  // namespace fmp4
