// The layouts of the sample entries, byte by byte.
#include <gmock/gmock.h>

#include "base/fourcc.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/caption_entry.h"
#include "mp4box/boxes/mp4s.h"
#include "mp4box/boxes/text_entry.h"
#include "mp4box/boxes/timed_text_entry.h"
#include "mp4box/boxes/visual_entry.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

TEST(VisualSampleEntry, Takes78Bytes) {
  const Bytes bytes = join({zeros(6), u16(1), u16(2), u16(3), text("appl"), u32(4), u32(5), u16(1920),
                            u16(1080), u32(0x00480000), u32(0x00490000), u32(6), u16(1), u8(4), text("H264"),
                            zeros(27), u16(24), u16(0xFFFF)});
  ASSERT_EQ(bytes.size(), 78u);
  const auto entry = readExactly<mp4::VisualSampleEntry>(bytes);
  EXPECT_EQ(entry.dataReferenceIndex, 1);
  EXPECT_EQ(entry.version, 2);
  EXPECT_EQ(entry.revisionLevel, 3);
  EXPECT_EQ(entry.vendor, Mp4FourCc("appl"));
  EXPECT_EQ(entry.temporalQuality, 4u);
  EXPECT_EQ(entry.spatialQuality, 5u);
  EXPECT_EQ(entry.width, 1920);
  EXPECT_EQ(entry.height, 1080);
  EXPECT_EQ(entry.horizResolution, 0x00480000u);
  EXPECT_EQ(entry.vertResolution, 0x00490000u);
  EXPECT_EQ(entry.dataSize, 6u);
  EXPECT_EQ(entry.frameCount, 1);
  EXPECT_EQ(entry.compressorName[0], 4);
  EXPECT_EQ(entry.compressorName[4], '4');
  EXPECT_EQ(entry.depth, 24);
  EXPECT_EQ(entry.preDefined, -1);
}

const Bytes kAudioStart = join({zeros(6), u16(1)});
const Bytes kAudioFormat =
    join({u16(0), text("appl"), u16(6), u16(24), u16(0xFFFE), u16(9), u32(48000u << 16)});

TEST(AudioSampleEntry, Takes28Bytes) {
  const Bytes bytes = join({kAudioStart, u16(0), kAudioFormat});
  ASSERT_EQ(bytes.size(), 28u);
  const auto entry = readExactly<mp4::AudioSampleEntry>(bytes);
  EXPECT_EQ(entry.dataReferenceIndex, 1);
  EXPECT_EQ(entry.version, 0);
  EXPECT_EQ(entry.vendor, Mp4FourCc("appl"));
  EXPECT_EQ(entry.channelCount, 6);
  EXPECT_EQ(entry.sampleSize, 24);
  EXPECT_EQ(entry.preDefined, -2);
  EXPECT_EQ(entry.packetSize, 9);
  EXPECT_EQ(entry.sampleRate, 48000u << 16);
}

TEST(AudioSampleEntry, Takes16MoreBytesInQuickTimeVersion1) {
  const auto entry = readExactly<mp4::AudioSampleEntry>(
      join({kAudioStart, u16(1), kAudioFormat, u32(1024), u32(1), u32(2), u32(3)}));
  EXPECT_EQ(entry.samplesPerPacket, 1024u);
  EXPECT_EQ(entry.bytesPerPacket, 1u);
  EXPECT_EQ(entry.bytesPerFrame, 2u);
  EXPECT_EQ(entry.bytesPerSample, 3u);
}

TEST(AudioSampleEntry, Takes36MoreBytesInQuickTimeVersion2) {
  const auto entry = readExactly<mp4::AudioSampleEntry>(
      join({kAudioStart, u16(2), kAudioFormat, u32(72), u64(0x40E7700000000000), u32(2), u32(0x7F000000),
            u32(16), u32(0xC), u32(4), u32(1)}));
  EXPECT_EQ(entry.sizeOfStructOnly, 72u);
  EXPECT_EQ(entry.audioSampleRate, 0x40E7700000000000u);
  EXPECT_EQ(entry.numAudioChannels, 2u);
  EXPECT_EQ(entry.always7F000000, 0x7F000000u);
  EXPECT_EQ(entry.constBitsPerChannel, 16u);
  EXPECT_EQ(entry.formatSpecificFlags, 0xCu);
  EXPECT_EQ(entry.constBytesPerAudioPacket, 4u);
  EXPECT_EQ(entry.constLpcmFramesPerAudioPacket, 1u);
}

// ISO/IEC 14496-12, 12.2.3: AudioSampleEntryV1.
TEST(AudioSampleEntry, TakesNoMoreBytesInAVersion1SampleDescription) {
  for (const unsigned version : {1u, 2u}) {
    const Bytes bytes = join({kAudioStart, u16(version), kAudioFormat, zeros(36)});
    mp4::SampleDescriptionBox description;
    description.version = 1;
    mp4::AudioSampleEntry entry;
    entry.readInside(description);
    Mp4FieldReader fields(bytes);
    entry.fields(fields);
    EXPECT_EQ(fields.consumed(), 28u);
    EXPECT_EQ(entry.channels(), 6u);
    EXPECT_EQ(entry.samplesPerSecond(), 48000u);
    description.version = 0;
    entry.readInside(description);
    Mp4FieldReader quickTime(bytes);
    entry.fields(quickTime);
    EXPECT_EQ(quickTime.consumed(), version == 1 ? 44u : 64u);
  }
}

TEST(AudioSampleEntry, OfQuickTimeVersion2RejectsInvalidRates) {
  const auto rateOf = [](std::uint64_t bits) {
    const auto entry = read<mp4::AudioSampleEntry>(
        join({kAudioStart, u16(2), kAudioFormat, u32(72), u64(bits), u32(8), u32(0x7F000000), zeros(16)}));
    EXPECT_EQ(entry.channels(), 8u);
    return entry.samplesPerSecond();
  };
  EXPECT_EQ(rateOf(0x40F7700000000000), 96000u);
  EXPECT_EQ(rateOf(0x3FE0000000000000), 0u) << "a half";
  EXPECT_EQ(rateOf(0xC0F7700000000000), 0u) << "negative";
  EXPECT_EQ(rateOf(0x41F0000000000000), 0u) << "2 to the power of 32";
  EXPECT_EQ(rateOf(0x41EFFFFFFFE00000), 0xFFFFFFFFu);
  EXPECT_EQ(rateOf(0x7FF8000000000000), 0u) << "NaN";
  EXPECT_EQ(rateOf(0x7FF0000000000000), 0u) << "infinite";
}

TEST(MpegSampleEntry, Takes8Bytes) {
  EXPECT_EQ(readExactly<mp4::MpegSampleEntry>(join({zeros(6), u16(3)})).dataReferenceIndex, 3);
}

TEST(CaptionSampleEntry, Takes8Bytes) {
  EXPECT_EQ(readExactly<mp4::CaptionSampleEntry>(join({zeros(6), u16(3)})).dataReferenceIndex, 3);
}

TEST(TimedTextSampleEntry, Takes38BytesBeforeItsFontTable) {
  const Bytes bytes = join({zeros(6), u16(1), u32(0x20), u8(1), u8(0xFF), u32(0x10203040), u16(1), u16(2),
                            u16(3), u16(0xFFFF), u16(4), u16(5), u16(6), u8(7), u8(18), u32(0xFFFEFDFC)});
  ASSERT_EQ(bytes.size(), 38u);
  const auto entry = readExactly<mp4::TimedTextSampleEntry>(bytes);
  EXPECT_EQ(entry.displayFlags, 0x20u);
  EXPECT_EQ(entry.horizontalJustification, 1);
  EXPECT_EQ(entry.verticalJustification, 0xFF);
  EXPECT_THAT(entry.backgroundColor, ElementsAre(0x10, 0x20, 0x30, 0x40));
  EXPECT_THAT(entry.defaultTextBox, ElementsAre(1, 2, 3, -1));
  EXPECT_EQ(entry.startChar, 4);
  EXPECT_EQ(entry.endChar, 5);
  EXPECT_EQ(entry.fontId, 6);
  EXPECT_EQ(entry.faceStyleFlags, 7);
  EXPECT_EQ(entry.fontSize, 18);
  EXPECT_THAT(entry.textColor, ElementsAre(0xFF, 0xFE, 0xFD, 0xFC));
}

TEST(TextSampleEntry, MayBeATimedTextSampleEntry) {
  const Bytes bytes = join({zeros(6), u16(1), u32(1), zeros(21), u8(20), u32(0xFFFFFFFF)});
  ASSERT_EQ(bytes.size(), mp4::TimedTextSampleEntry::kBytes);
  const Bytes withFontTable = join({bytes, box("ftab", {zeros(5)})});
  mp4::TextSampleEntry entry;
  Mp4FieldReader fields(withFontTable);
  entry.fields(fields);
  EXPECT_EQ(fields.consumed(), bytes.size());
  ASSERT_TRUE(entry.timedText);
  EXPECT_EQ(entry.timedText->displayFlags, 1u);
  EXPECT_EQ(entry.timedText->fontSize, 20);
  EXPECT_EQ(bytesOf(entry), bytes);
}

TEST(TextSampleEntry, CountsItsFontName) {
  const auto entry = readExactly<mp4::TextSampleEntry>(
      join({zeros(6), u16(1),  u32(2),  u32(0xFFFFFFFF), u16(3),   u16(4),       u16(5),
            u16(6),   u16(7),  u16(8),  u16(9),          zeros(8), u16(10),      u16(11),
            zeros(3), u16(12), u16(13), u16(14),         u8(5),    text("Serif")}));
  EXPECT_EQ(entry.displayFlags, 2u);
  EXPECT_EQ(entry.textJustification, -1);
  EXPECT_THAT(entry.backgroundColor, ElementsAre(3, 4, 5));
  EXPECT_THAT(entry.defaultTextBox, ElementsAre(6, 7, 8, 9));
  EXPECT_EQ(entry.fontNumber, 10);
  EXPECT_EQ(entry.fontFace, 11);
  EXPECT_THAT(entry.foregroundColor, ElementsAre(12, 13, 14));
  EXPECT_EQ(entry.fontName, "Serif");
}

}  // namespace

}  // namespace fmp4
