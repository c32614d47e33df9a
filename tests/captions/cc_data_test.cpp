#include "captions/cc_data.h"

#include <gtest/gtest.h>

#include <numeric>

namespace fmp4 {

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
  const Bytes entire = packetOf({kTimeCode, kData, kFooter});
  for (std::size_t size = 0; size <= entire.size(); ++size) {
    const Bytes cut(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(size));
    const std::size_t whole3 = size < 14 ? 0 : std::min<std::size_t>((size - 14) / 3, 4);
    EXPECT_EQ(parseDistributionPacket(cut).size(), whole3) << size;
  }
}

// SMPTE ST 334-2, 5: 29.97 frames a second, packet 0x0102.
TEST(DistributionPacket, IsWrittenWithItsChecksum) {
  const Bytes packet = captions::distributionPacket(kConstructs, 29.97, 0x0102);
  const Bytes expected = {0x96, 0x69, 25,   0x4F, 0x43, 0x01, 0x02,         0x72, 0xE4,
                          0xFC, 0x94, 0x20, 0xF9, 0x80, 0x80, 0xFF,         0x02, 0x21,
                          0xFE, 0x41, 0x42, 0x74, 0x01, 0x02, packet.back()};
  EXPECT_EQ(packet, expected);
  EXPECT_EQ(std::accumulate(packet.begin(), packet.end(), 0u) % 256, 0u);
  EXPECT_EQ(parseDistributionPacket(packet), kConstructs);
}

TEST(DistributionPacket, NamesTheNearestRate) {
  const std::pair<double, unsigned> kRates[] = {{10, 1}, {23.976, 1}, {24, 2}, {25, 3},    {29.97, 4},
                                                {30, 5}, {48, 6},     {50, 6}, {59.94, 7}, {60, 8}};
  for (const auto& [rate, code] : kRates)
    EXPECT_EQ(captions::distributionPacket({}, rate, 0)[3], code << 4 | 0x0F) << rate;
}

TEST(DistributionPacket, HasNoMoreConstructsThanItCanCount) {
  const std::vector<CcConstruct> many(40, kConstructs[0]);
  EXPECT_EQ(parseDistributionPacket(captions::distributionPacket(many, 30, 0)).size(), 31u);
}

TEST(DistributionPacket, EndsWhereItsLengthSays) {
  Bytes packet = packetOf({kData});
  packet[2] = 7 + 2 + 2 * 3;
  EXPECT_EQ(parseDistributionPacket(packet), std::vector(kConstructs.begin(), kConstructs.begin() + 2));
}

}  // namespace

}  // namespace fmp4
