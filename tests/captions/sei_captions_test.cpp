#include "captions/sei_captions.h"

#include <gtest/gtest.h>

#include "tests/captions/sei_stream.h"

namespace fmp4 {

namespace {

using captions::CcConstruct;
using captions::CcType;
using captions::constructsInAccessUnit;
using namespace sei;

const std::vector<CcConstruct> kConstructs = {{CcType::Field1, true, {0x94, 0x20}},
                                              {CcType::Field2, true, {0x00, 0x00}},
                                              {CcType::PacketStart, true, {0x02, 0x00}},
                                              {CcType::PacketData, true, {0x00, 0x00}}};

// NAL units after lengths of `lengthBytes`.
Bytes accessUnit(const std::vector<Bytes>& nalUnits, unsigned lengthBytes = 4) {
  Bytes unit;
  for (const Bytes& nal : nalUnits) {
    for (unsigned i = lengthBytes; i-- > 0;) unit.push_back(static_cast<std::uint8_t>(nal.size() >> 8 * i));
    unit.insert(unit.end(), nal.begin(), nal.end());
  }
  return unit;
}

const Bytes kDelimiter = {0x09, 0xF0}, kSlice = {0x65, 0x88, 0x80, 0x10};

TEST(SeiCaptions, AreFoundAmongNalUnits) {
  const Bytes nal = captionSei(kConstructs);
  for (const unsigned lengthBytes : {1u, 2u, 4u})
    EXPECT_EQ(constructsInAccessUnit(accessUnit({kDelimiter, nal, kSlice}, lengthBytes), lengthBytes),
              kConstructs);
  EXPECT_TRUE(constructsInAccessUnit(accessUnit({kDelimiter, kSlice}), 4).empty());
  EXPECT_TRUE(constructsInAccessUnit({}, 4).empty());
}

// Two zeros before a byte below 4 are kept apart in a NAL unit.
TEST(SeiCaptions, AreFoundAfterEmulationPrevention) {
  Bytes payload = {5, 6, 0, 0, 0, 0, 0, 1};
  const Bytes captions = captionMessage(kConstructs);
  payload.insert(payload.end(), captions.begin(), captions.end());
  const Bytes nal = seiNalUnit(payload);
  EXPECT_EQ(nal.size(), 1 + payload.size() + 2 + 1);
  EXPECT_EQ(constructsInAccessUnit(accessUnit({nal}), 4), kConstructs);
}

TEST(SeiCaptions, ComeAfterOtherMessages) {
  Bytes payload = {5, 0xFF, 45};
  payload.insert(payload.end(), 300, 0x55);
  const Bytes captions = captionMessage(kConstructs);
  payload.insert(payload.end(), captions.begin(), captions.end());
  EXPECT_EQ(constructsInAccessUnit(accessUnit({seiNalUnit(payload)}), 4), kConstructs);
}

TEST(SeiCaptions, OfAnotherKindAreNotTaken) {
  for (const std::size_t place : {2u, 4u, 5u, 9u}) {  // country, provider, identifier, type code
    Bytes message = captionMessage(kConstructs);
    message[place] ^= 1;
    EXPECT_TRUE(constructsInAccessUnit(accessUnit({seiNalUnit(message)}), 4).empty()) << place;
  }
  Bytes notToProcess = captionMessage(kConstructs);
  notToProcess[10] &= 0xBF;
  EXPECT_TRUE(constructsInAccessUnit(accessUnit({seiNalUnit(notToProcess)}), 4).empty());
}

TEST(SeiCaptions, CutAnywhereAreSafe) {
  const Bytes entire = accessUnit({kDelimiter, captionSei(kConstructs), kSlice});
  for (std::size_t size = 0; size < entire.size(); ++size)
    EXPECT_LE(
        constructsInAccessUnit(Bytes(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(size)), 4)
            .size(),
        kConstructs.size());
}

TEST(SeiCaptions, EmulationPreventionFollowsAnyNumberOfZeros) {
  // As an encoder that prevents too late would write them.
  Bytes nal = {0x06, 5, 4, 0, 0, 0, 3, 9};
  const Bytes captions = captionSei(kConstructs);
  nal.insert(nal.end(), captions.begin() + 1, captions.end());
  EXPECT_EQ(constructsInAccessUnit(accessUnit({nal}), 4), kConstructs);
}

TEST(SeiCaptions, MessagesThatEndWithTheirUnitAreTaken) {
  // The trailing bits are missing: the message's last byte takes their place.
  Bytes nal = captionSei(kConstructs);
  nal.pop_back();
  EXPECT_EQ(constructsInAccessUnit(accessUnit({nal}), 4), kConstructs);
  EXPECT_EQ(constructsInAccessUnit(accessUnit({kSlice, nal}), 4), kConstructs);
  nal.pop_back();
  EXPECT_TRUE(constructsInAccessUnit(accessUnit({nal}), 4).empty()) << "a byte less than it says";
}

TEST(SeiCaptions, CountNoMoreConstructsThanTheirMessageHolds) {
  Bytes payload = captionMessage(kConstructs);
  payload[2 + 8] |= 0x1F;  // thirty-one
  const auto constructs = constructsInAccessUnit(accessUnit({seiNalUnit(payload)}), 4);
  ASSERT_EQ(constructs.size(), kConstructs.size());
  EXPECT_EQ(constructs, kConstructs);
}

TEST(SeiCaptions, ComeAfterNalUnitsOfNoBytes) {
  // The type of SEI follows a length of 0 as the next length.
  const Bytes unit = accessUnit({{}, {0x01, 2, 3, 4, 5, 6}, captionSei(kConstructs), {}}, 1);
  ASSERT_EQ(unit[1], 6);
  EXPECT_EQ(constructsInAccessUnit(unit, 1), kConstructs);
}

}  // namespace

}  // namespace fmp4
