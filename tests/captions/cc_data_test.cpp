#include "captions/cc_data.h"

#include <gtest/gtest.h>

namespace {

using captions::CcConstruct;
using captions::CcType;
using captions::parseDistributionPacket;
using Bytes = std::vector<std::uint8_t>;

const std::vector<CcConstruct> kConstructs = {{CcType::Field1, true, {0x94, 0x20}},
                                              {CcType::Field2, false, {0x80, 0x80}},
                                              {CcType::PacketStart, true, {0x02, 0x21}},
                                              {CcType::PacketData, true, {0x41, 0x42}}};
const Bytes kData = {0x72, 0xE4, 0xFC, 0x94, 0x20, 0xF9, 0x80, 0x80, 0xFF, 0x02, 0x21, 0xFE, 0x41, 0x42};
const Bytes kTimeCode = {0x71, 0xC1, 0x82, 0x03, 0x04};
const Bytes kFooter = {0x74, 0x00, 0x01, 0x00};

Bytes packetOf(const std::vector<Bytes>& sections) {
  Bytes packet = {0x96, 0x69, 0, 0x4F, 0xC3, 0x00, 0x01};
  for (const Bytes& section : sections) packet.insert(packet.end(), section.begin(), section.end());
  packet[2] = static_cast<std::uint8_t>(packet.size());
  return packet;
}

TEST(DistributionPacket, HasItsConstructs) {
  EXPECT_EQ(parseDistributionPacket(packetOf({kData, kFooter})), kConstructs);
  EXPECT_EQ(parseDistributionPacket(packetOf({kTimeCode, kData, kFooter})), kConstructs);
}

TEST(DistributionPacket, WithoutCaptionDataHasNone) {
  EXPECT_TRUE(parseDistributionPacket(packetOf({kTimeCode, kFooter})).empty());
  EXPECT_TRUE(parseDistributionPacket({}).empty());
  EXPECT_TRUE(parseDistributionPacket(Bytes{0x96, 0x69, 5, 1, 2}).empty());
  EXPECT_TRUE(parseDistributionPacket(Bytes{0x96, 0x69, 7, 1, 2, 3, 4, 5}).empty());
}

TEST(DistributionPacket, ACutPacketHasItsFirstConstructs) {
  const Bytes whole = packetOf({kTimeCode, kData, kFooter});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const std::size_t whole3 = size < 14 ? 0 : std::min<std::size_t>((size - 14) / 3, 4);
    EXPECT_EQ(parseDistributionPacket(cut).size(), whole3) << size;
  }
}

}  // namespace
