#include "tool/export/adts.h"

#include <gtest/gtest.h>

#include "tests/audio/bit_writer.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

// An access unit of two bytes as ADTS, after the AudioSpecificConfig `configuration`.
Bytes adtsUnit(const Bytes& configuration, bool mpeg2 = false) {
  std::string why;
  auto adts = Adts::fromConfiguration(configuration, mpeg2, why);
  EXPECT_TRUE(adts) << why;
  Bytes stream;
  EXPECT_TRUE(!adts || adts->append(Bytes{0xAB, 0xCD}, stream));
  return stream;
}

std::string whyNoAdtsOf(const Bytes& configuration) {
  std::string why;
  EXPECT_FALSE(Adts::fromConfiguration(configuration, false, why));
  return why;
}

TEST(Adts, HeaderHasTheFieldsOfTheConfiguration) {
  // LC, 48000 Hz, stereo. Nine bytes, a variable rate.
  EXPECT_EQ(adtsUnit({0x11, 0x90}), (Bytes{0xFF, 0xF1, 0x4C, 0x80, 0x01, 0x3F, 0xFC, 0xAB, 0xCD}));
  EXPECT_EQ(adtsUnit({0x11, 0x90}, true)[1], 0xF9) << "MPEG-2";
  // LTP, 7350 Hz, 7.1 (configuration 7): all bits of the fields.
  EXPECT_EQ(adtsUnit({0x26, 0x38}), (Bytes{0xFF, 0xF1, 0xF1, 0xC0, 0x01, 0x3F, 0xFC, 0xAB, 0xCD}));
}

TEST(Adts, SbrIsSignalledImplicitly) {
  const Bytes core = adtsUnit({0x13, 0x10});  // LC, 24000 Hz, stereo
  BitWriter explicitly;
  explicitly.Write(5, 5);  // SBR
  explicitly.Write(6, 4);  // 24000 Hz
  explicitly.Write(2, 4);  // stereo
  explicitly.Write(3, 4);  // 48000 Hz
  explicitly.Write(2, 5);  // LC
  explicitly.Write(0, 3);  // GASpecificConfig
  EXPECT_EQ(adtsUnit(explicitly.Bytes()), core);
  EXPECT_EQ(adtsUnit({0x13, 0x10, 0x56, 0xE5, 0x98}), core) << "backward compatible";
}

TEST(Adts, AFrequencyOfTheListMayBeStatedInHertz) {
  BitWriter stated;
  stated.Write(2, 5);
  stated.Write(15, 4);
  stated.Write(44100, 24);
  stated.Write(1, 4);
  stated.Write(0, 3);
  EXPECT_EQ(adtsUnit(stated.Bytes()), adtsUnit({0x12, 0x08}));
}

// LC, 48000 Hz, the channels given by a program: one pair in front, a comment of two bytes.
Bytes programConfiguration() {
  BitWriter bits;
  bits.Write(2, 5);
  bits.Write(3, 4);
  bits.Write(0, 4);
  bits.Write(0, 3);
  bits.Write(9, 4);  // element_instance_tag
  bits.Write(1, 2);  // LC
  bits.Write(3, 4);  // 48000 Hz
  bits.Write(1, 4);  // front
  bits.Write(0, 4);  // side
  bits.Write(0, 4);  // back
  bits.Write(0, 2);  // LFE
  bits.Write(1, 3);  // associated data
  bits.Write(0, 4);  // coupling
  bits.Write(0, 2);  // no mono or stereo mixdown
  bits.Write(1, 1);  // matrix mixdown
  bits.Write(5, 3);
  bits.Write(0x17, 5);  // a pair, tag 7
  bits.Write(6, 4);     // tag of the data
  bits.Align();
  bits.Write(2, 8);
  bits.WriteBytes({'h', 'i'});
  return bits.Bytes();
}

TEST(Adts, TheFirstUnitHasTheProgramOfTheConfiguration) {
  std::string why;
  auto adts = Adts::fromConfiguration(programConfiguration(), false, why);
  ASSERT_TRUE(adts) << why;
  BitWriter element;
  element.Write(5, 3);  // ID_PCE
  element.Write(9, 4);
  element.Write(1, 2);
  element.Write(3, 4);
  element.Write(1, 4);
  element.Write(0, 4 + 4 + 2);
  element.Write(1, 3);
  element.Write(0, 4 + 2);
  element.Write(1, 1);
  element.Write(5, 3);
  element.Write(0x17, 5);
  element.Write(6, 4);
  element.Align();
  element.Write(2, 8);
  element.WriteBytes({'h', 'i'});
  const Bytes program = element.Bytes();
  const std::size_t first = 7 + program.size() + 1;
  ASSERT_LT(first, 32u);
  Bytes stream;
  ASSERT_TRUE(adts->append(Bytes{0xAB}, stream));
  ASSERT_TRUE(adts->append(Bytes{0xCD}, stream));
  EXPECT_EQ(stream, join({{0xFF, 0xF1, 0x4C, 0, static_cast<std::uint8_t>(first >> 3),
                           static_cast<std::uint8_t>((first & 7) << 5 | 0x1F), 0xFC},
                          program,
                          {0xAB},
                          {0xFF, 0xF1, 0x4C, 0, 1, 0x1F, 0xFC, 0xCD}}));
}

TEST(Adts, AUnitThatIsTooLongIsRefused) {
  std::string why;
  auto adts = Adts::fromConfiguration(Bytes{0x11, 0x90}, false, why);
  ASSERT_TRUE(adts);
  Bytes stream;
  EXPECT_FALSE(adts->append(Bytes(8185), stream));
  EXPECT_TRUE(stream.empty());
  EXPECT_TRUE(adts->append(Bytes(8184), stream));
  EXPECT_EQ(Bytes(stream.begin(), stream.begin() + 7), (Bytes{0xFF, 0xF1, 0x4C, 0x83, 0xFF, 0xFF, 0xFC}));
}

TEST(Adts, SaysWhatItCannotSay) {
  const std::string damaged = "its configuration (AudioSpecificConfig) is missing or damaged";
  EXPECT_EQ(whyNoAdtsOf({}), damaged);
  EXPECT_EQ(whyNoAdtsOf({0x11}), damaged);
  EXPECT_EQ(whyNoAdtsOf({0x11, 0x80}), damaged) << "channel configuration 0 without a program";
  EXPECT_EQ(whyNoAdtsOf({0xB9, 0x90, 0}), "its audio object type is 23, and ADTS has 1 to 4");
  EXPECT_EQ(whyNoAdtsOf({0x11, 0x94}), "its frames have 960 samples, and those of ADTS 1024");
  EXPECT_EQ(whyNoAdtsOf({0x11, 0xD8}), "its channel configuration is 11, and ADTS has 0 to 7");
  EXPECT_EQ(whyNoAdtsOf({0x11, 0x92, 0, 0}), "it depends on another track");
  EXPECT_EQ(whyNoAdtsOf({0x11, 0x91, 0}), "its configuration has an extension");
  BitWriter unlisted;
  unlisted.Write(2, 5);
  unlisted.Write(15, 4);
  unlisted.Write(50000, 24);
  unlisted.Write(2, 4);
  unlisted.Write(0, 3);
  EXPECT_EQ(whyNoAdtsOf(unlisted.Bytes()), "its sampling frequency of 50000 Hz is none of AAC's list");
}

}  // namespace

}  // namespace fmp4
