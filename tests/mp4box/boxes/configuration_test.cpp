// The layouts of the boxes that configure a codec, byte by byte.
#include <gmock/gmock.h>

#include "mp4box/boxes/avcC.h"
#include "mp4box/boxes/dac3.h"
#include "mp4box/boxes/enda.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/iods.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AVCConfiguration, KeepsItsRecordAsStored) {
  const auto avcC = readExactly<mp4::AVCConfigurationBox>(Bytes{1, 0x64, 0x0A, 0x1F, 0xFD, 0xE1, 0, 1, 0x67});
  EXPECT_EQ(avcC.configurationVersion(), 1);
  EXPECT_EQ(avcC.profileIndication(), 0x64);
  EXPECT_EQ(avcC.profileCompatibility(), 0x0A);
  EXPECT_EQ(avcC.levelIndication(), 0x1F);
  EXPECT_EQ(avcC.nalLengthBytes(), 2u);
  EXPECT_EQ(avcC.record.size(), 9u);
}

TEST(AVCConfiguration, GivesZerosForARecordThatIsTooShort) {
  mp4::AVCConfigurationBox avcC;
  avcC.record = {1};
  EXPECT_EQ(avcC.configurationVersion(), 1);
  EXPECT_EQ(avcC.levelIndication(), 0);
  EXPECT_EQ(avcC.nalLengthBytes(), 1u);
}

TEST(AC3Specific, SplitsItsBits) {
  // 48 kHz, bsid 8, complete main, 3/2 with LFE, 384 kbit/s.
  const auto dac3 = readExactly<mp4::AC3SpecificBox>(Bytes{0x10, 0x3D, 0xC0});
  EXPECT_EQ(dac3.fscod, 0u);
  EXPECT_EQ(dac3.bsid, 8u);
  EXPECT_EQ(dac3.bsmod, 0u);
  EXPECT_EQ(dac3.acmod, 7u);
  EXPECT_EQ(dac3.lfeon, 1u);
  EXPECT_EQ(dac3.bitRateCode, 14u);
  EXPECT_EQ(dac3.reserved, 0u);
}

TEST(Endian, DetectsTheByteOrder) {
  EXPECT_EQ(readExactly<mp4::EndianBox>(u16(1)).littleEndian, 1);
}

const Bytes kAacConfig = {0x11, 0x90};

TEST(ESD, ReadsLengthsThatOtherWritersPad) {
  const auto esds = readExactly<mp4::ESDBox>(
      join({u32(0), Bytes{0x03, 0x80, 0x80, 0x80, 0x22}, u16(1), u8(0), Bytes{0x04, 0x80, 0x80, 0x80, 0x14},
            u8(0x40), u8(0x15), u24(6144), u32(352000), u32(128000), Bytes{0x05, 0x80, 0x80, 0x80, 0x02},
            kAacConfig, Bytes{0x06, 0x80, 0x80, 0x80, 0x01, 0x02}}));
  EXPECT_EQ(esds.esId, 1);
  EXPECT_EQ(esds.esFlags, 0);
  ASSERT_TRUE(esds.decoderConfig);
  EXPECT_EQ(esds.decoderConfig->objectTypeIndication, 0x40);
  EXPECT_EQ(esds.decoderConfig->streamType, 0x15);
  EXPECT_EQ(esds.decoderConfig->bufferSizeDB, 6144u);
  EXPECT_EQ(esds.decoderConfig->maxBitrate, 352000u);
  EXPECT_EQ(esds.decoderConfig->avgBitrate, 128000u);
  EXPECT_EQ(esds.decoderConfig->decoderSpecificInfo, kAacConfig);
}

TEST(ESD, ReadsTheFieldsItsFlagsSignal) {
  const auto esds = readExactly<mp4::ESDBox>(join(
      {u32(0), Bytes{0x03, 0x1F}, u16(7), u8(0xE5), u16(8), u8(3), text("url"), u16(9), Bytes{0x04, 0x0F},
       u8(0x40), u8(0x15), u24(1), u32(2), u32(3), Bytes{0x05, 0x00}, Bytes{0x06, 0x01, 0x02}}));
  EXPECT_EQ(esds.esFlags, 0xE5);
  EXPECT_EQ(esds.dependsOnEsId, 8);
  EXPECT_EQ(esds.url, "url");
  EXPECT_EQ(esds.ocrEsId, 9);
  ASSERT_TRUE(esds.decoderConfig);
  EXPECT_TRUE(esds.decoderConfig->hasDecoderSpecificInfo);
  EXPECT_THAT(esds.decoderConfig->decoderSpecificInfo, IsEmpty());
}

TEST(ESD, WritesFieldsThatAreSetWhateverTheFlagsSay) {
  mp4::ESDBox esds;
  esds.esFlags = 0xE0;
  esds.decoderConfig.emplace();
  EXPECT_EQ(bytesOf(esds), join({u32(0), Bytes{0x03, 0x17}, u16(0), u8(0xE0), Bytes{0x04, 0x0F}, zeros(13),
                                 Bytes{0x05, 0x00}, Bytes{0x06, 0x01, 0x02}}));
}

TEST(ESD, ReadsADecoderConfigurationWithoutSpecificInfoOrWithMoreAfterIt) {
  const Bytes config = join({u8(0x6B), u8(0x15), u24(0), u32(1), u32(2)});
  const auto none = readExactly<mp4::ESDBox>(
      join({u32(0), Bytes{0x03, 0x15}, u16(0), u8(0), Bytes{0x04, 0x0D}, config, Bytes{0x06, 0x01, 0x02}}));
  ASSERT_TRUE(none.decoderConfig);
  EXPECT_FALSE(none.decoderConfig->hasDecoderSpecificInfo);
  const auto more = readExactly<mp4::ESDBox>(
      join({u32(0), Bytes{0x03, 0x1B}, u16(0), u8(0), Bytes{0x04, 0x13}, config, Bytes{0x05, 0x01, 0x77},
            Bytes{0x14, 0x01, 0x33}, Bytes{0x06, 0x01, 0x02}}));
  ASSERT_TRUE(more.decoderConfig);
  EXPECT_THAT(more.decoderConfig->decoderSpecificInfo, ElementsAre(0x77));
  EXPECT_THAT(more.decoderConfig->extension, ElementsAre(0x14, 0x01, 0x33));
  EXPECT_THAT(more.extension, ElementsAre(0x06, 0x01, 0x02));
}

TEST(ESD, KeepsOtherDescriptors) {
  const auto esds =
      readExactly<mp4::ESDBox>(join({u32(0), Bytes{0x03, 0x06}, u16(1), u8(0), Bytes{0x06, 0x01, 0x02}}));
  EXPECT_FALSE(esds.decoderConfig);
  EXPECT_THAT(esds.extension, ElementsAre(0x06, 0x01, 0x02));
}

TEST(ESD, IsEmptyWhenNoElementaryStreamDescriptorComesFirst) {
  const auto esds = read<mp4::ESDBox>(join({u32(0), Bytes{0x04, 0x0D}, zeros(13)}));
  EXPECT_FALSE(esds.decoderConfig);
  EXPECT_EQ(esds.esId, 0);
}

TEST(ESD, ReadsFieldsInOrderWhateverTheLengthsSay) {
  const Bytes config = join({u8(0x40), u8(0x15), u24(1), u32(2), u32(3)});
  for (const Bytes& length :
       {Bytes{0x00}, Bytes{0x05}, Bytes{0xFF, 0xFF, 0xFF, 0x7F}, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x7F}}) {
    const auto esds = read<mp4::ESDBox>(join({u32(0), u8(3), length, u16(9), u8(0), u8(4), length, config,
                                              u8(5), Bytes{0x02}, kAacConfig, Bytes{6, 1, 2}}));
    EXPECT_EQ(esds.esId, 9);
    ASSERT_TRUE(esds.decoderConfig);
    EXPECT_EQ(esds.decoderConfig->avgBitrate, 3u);
    EXPECT_EQ(esds.decoderConfig->decoderSpecificInfo, kAacConfig);
  }
}

TEST(ESD, TruncatesTheSpecificInfoToTheBytesPresent) {
  const auto esds = read<mp4::ESDBox>(join({u32(0), Bytes{3, 25}, u16(9), u8(0), Bytes{4, 17}, zeros(13),
                                            Bytes{5, 0xFF, 0xFF, 0xFF, 0x7F}, kAacConfig}));
  ASSERT_TRUE(esds.decoderConfig);
  EXPECT_EQ(esds.decoderConfig->decoderSpecificInfo, kAacConfig);
  EXPECT_THAT(esds.extension, IsEmpty());
}

TEST(ESD, SizesItsLengthsFromTheInsideOut) {
  mp4::ESDBox esds;
  esds.decoderConfig.emplace();
  // One more byte makes a length take two bytes, which the enclosing lengths count too.
  const auto lengths = [&](std::size_t count) {
    esds.decoderConfig->decoderSpecificInfo.assign(count, 0);
    return bytesOf(esds).size() - count - 4 - 3 - 3 - 13 - 3;
  };
  EXPECT_EQ(lengths(104), 3u);
  EXPECT_EQ(lengths(105), 4u);  // the outermost: 105 + 1 + 1 + 21 = 128
  EXPECT_EQ(lengths(112), 4u);
  EXPECT_EQ(lengths(113), 5u);  // the decoder configuration: 113 + 1 + 14 = 128
  EXPECT_EQ(lengths(127), 5u);
  EXPECT_EQ(lengths(128), 6u);
}

TEST(ObjectDescriptor, ReadsProfilesOrAUrl) {
  const auto profiles = readExactly<mp4::ObjectDescriptorBox>(
      join({u32(0), Bytes{0x10, 0x80, 0x80, 0x80, 0x0D, 0x00, 0x4F, 0xFF, 0xFE, 0x29, 0x15, 0xFD},
            Bytes{0x0E, 0x04, 0, 0, 0, 1}}));
  EXPECT_EQ(profiles.tag, 0x10);
  EXPECT_EQ(profiles.objectDescriptorId, 1u);
  EXPECT_EQ(profiles.urlFlag, 0u);
  EXPECT_EQ(profiles.reserved, 15u);
  EXPECT_EQ(profiles.odProfileLevel, 0xFF);
  EXPECT_EQ(profiles.sceneProfileLevel, 0xFE);
  EXPECT_EQ(profiles.audioProfileLevel, 0x29);
  EXPECT_EQ(profiles.visualProfileLevel, 0x15);
  EXPECT_EQ(profiles.graphicsProfileLevel, 0xFD);
  EXPECT_THAT(profiles.descriptors, ElementsAre(0x0E, 0x04, 0, 0, 0, 1));
  const auto url =
      readExactly<mp4::ObjectDescriptorBox>(join({u32(0), Bytes{0x11, 0x06, 0x00, 0x6F, 0x03}, text("url")}));
  EXPECT_EQ(url.urlFlag, 1u);
  EXPECT_EQ(url.url, "url");
}

}  // namespace

}  // namespace fmp4
