// Audio sample entries of other writers: their versions, and fields without useful values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// A file's bytes, in which fields of the audio sample description can be set.
struct AudioFile {
  TempFolder folder;
  std::string path = folder.file("clip.mp4");
  Bytes bytes;

  explicit AudioFile(const std::vector<std::string>& arguments) {
    makeMedia(path, arguments);
    bytes = readFile(path);
  }
  // The offset of a box's four type characters.
  std::ptrdiff_t typeOf(std::string_view type) const {
    const auto at = std::search(bytes.begin(), bytes.end(), type.begin(), type.end());
    if (at == bytes.end()) throw std::runtime_error("no such box");
    return at - bytes.begin();
  }
  void set(std::ptrdiff_t place, const Bytes& value) {
    std::copy(value.begin(), value.end(), bytes.begin() + place);
  }
  void setVersionOfDescription(std::uint8_t version) { set(typeOf("stsd") + 4, u8(version)); }
  void setVersionOfEntry(std::string_view type, unsigned version) { set(typeOf(type) + 12, u16(version)); }
  void setChannels(std::string_view type, unsigned channels) { set(typeOf(type) + 20, u16(channels)); }
  void setBits(std::string_view type, unsigned bits) { set(typeOf(type) + 22, u16(bits)); }
  void setRate(std::string_view type, unsigned rate) { set(typeOf(type) + 28, u16(rate)); }

  MediaFile open() const {
    writeFile(path, bytes);
    return openFile(path);
  }
};

const std::vector<std::string> kAac = {"-c:a", "aac", "-b:a", "96k"};
const std::vector<std::string> kAc3 = {"-c:a", "ac3", "-b:a", "192k"};

std::vector<std::string> stereoTone(int sampleRate = 48000) {
  return toneInput(1, sampleRate) + std::vector<std::string>{"-ac", "2"};
}

TEST(SampleEntry, Version1InAVersion1DescriptionHasNoMoreFields) {
  AudioFile audio(stereoTone() + kAac + fragmented());
  const Samples expected = readAll(*audio.open(), 4096);
  EXPECT_THAT(expected, testing::Contains(testing::Gt(1000)));
  audio.setVersionOfDescription(1);
  audio.setVersionOfEntry("mp4a", 1);
  for (const unsigned rate : {48000u, 1u}) {
    audio.setRate("mp4a", rate);
    const MediaFile file = audio.open();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(describe(*file).audio.wave.samplesPerSecond, 48000u);
    EXPECT_EQ(readAll(*file, 4096), expected);
  }
}

// QuickTime's entries: version 1 up to 65535 Hz, above that version 2, which has 3 channels and 1 Hz in the
// fields of the other versions.
TEST(SampleEntry, OfQuickTimesVersionsMatchesFfmpeg) {
  for (const int rate : {44100, 96000}) {
    const AudioFile audio(stereoTone(rate) + kAac + fragmented() + std::vector<std::string>{"-f", "mov"});
    const MediaFile file = audio.open();
    ASSERT_NE(file, nullptr);
    const QVRWAVE wave = describe(*file).audio.wave;
    EXPECT_EQ(wave.channels, 2);
    EXPECT_EQ(wave.samplesPerSecond, static_cast<std::uint32_t>(rate));
    EXPECT_EQ(wave.bitsPerSample, 16);
    EXPECT_EQ(file->Channels(), 3u);
    const Samples ours = readAll(*file, 4096);
    const std::vector<float> theirs = ffmpegPackets(audio.folder, audio.path, "0:a:0");
    ASSERT_GE(theirs.size(), ours.size());
    EXPECT_LT(
        RootMeanSquare(ours, {theirs.begin(), theirs.begin() + static_cast<std::ptrdiff_t>(ours.size())}), 1);
    EXPECT_THAT(ours, testing::Contains(testing::Gt(1000)));
  }
}

TEST(SampleEntry, DecodedAudioHas16BitsWhateverItStates) {
  for (const auto& [type, codec] : {std::pair{"mp4a", kAac}, std::pair{"ac-3", kAc3}}) {
    AudioFile audio(stereoTone() + codec + fragmented("+delay_moov"));
    const Samples expected = readAll(*audio.open(), 4096);
    EXPECT_THAT(expected, testing::Contains(testing::Gt(1000)));
    for (const unsigned bits : {0u, 8u, 12u, 20u, 24u, 32u, 65535u}) {
      audio.setBits(type, bits);
      const MediaFile file = audio.open();
      ASSERT_NE(file, nullptr) << type << bits;
      EXPECT_EQ(describe(*file).audio.wave.bitsPerSample, 16) << type << bits;
      EXPECT_EQ(readAll(*file, 4096), expected) << type << bits;
    }
  }
}

TEST(SampleEntry, WithoutChannelsTakesThoseOfItsConfiguration) {
  for (const int channels : {1, 2, 6}) {
    AudioFile audio(toneInput(0.5) + std::vector<std::string>{"-ac", std::to_string(channels)} + kAac +
                    fragmented());
    audio.setChannels("mp4a", 0);
    const MediaFile file = audio.open();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(describe(*file).audio.wave.channels, channels);
  }
}

TEST(SampleEntry, OfAc3WithoutChannelsAndRateIsStereoOfItsConfigurationsRate) {
  for (const int rate : {32000, 44100, 48000}) {
    AudioFile audio(stereoTone(rate) + kAc3 + fragmented("+delay_moov"));
    const Samples expected = readAll(*audio.open(), 4096);
    audio.setChannels("ac-3", 0);
    audio.setRate("ac-3", 0);
    const MediaFile file = audio.open();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(describe(*file).audio.wave.channels, 2);
    EXPECT_EQ(describe(*file).audio.wave.samplesPerSecond, static_cast<std::uint32_t>(rate));
    EXPECT_EQ(readAll(*file, 4096), expected);
  }
}

// ETSI TS 102 366, E.1: streams of half and a quarter of a rate have bsid 9 and 10.
TEST(SampleEntry, OfAc3WithoutARateMayHaveHalfOrAQuarterOfThatOfItsConfiguration) {
  for (const auto& [first, rate] : {std::pair{0x10u, 48000u}, {0x12u, 24000u}, {0x14u, 12000u}}) {
    const TempFolder folder;
    TrackSpec track{2, "soun", 48000,
                    audioEntry("ac-3", 2, 16, 0, box("dac3", {u8(first), u8(0x11), u8(0x40)})), 1536};
    TrafSpec traf;
    traf.trackId = 2;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
    writeFile(folder.file("clip.mp4"), join({fileTypeBox(), movieBox({track}), fragment(1, {traf})}));
    const MediaFile file = openFile(folder.file("clip.mp4"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(describe(*file).audio.wave.samplesPerSecond, rate);
  }
}

// How audio is described whose sample entry gives neither channels nor rate, by its AudioSpecificConfig of
// four bytes.
QVRWAVE waveOf(std::uint32_t configuration) {
  const Bytes esds = fullBox("esds", 0, 0,
                             {u8(3), u8(27), u16(0), u8(0), u8(4), u8(19), u8(0x40), u8(0x15), u24(0), u32(0),
                              u32(0), u8(5), u8(4), u32(configuration), u8(6), u8(1), u8(2)});
  const TempFolder folder;
  TrackSpec track{2, "soun", 48000, audioEntry("mp4a", 0, 16, 0, esds), 2048};
  TrafSpec traf;
  traf.trackId = 2;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  writeFile(folder.file("clip.mp4"), join({fileTypeBox(), movieBox({track}), fragment(1, {traf})}));
  const MediaFile file = openFile(folder.file("clip.mp4"));
  EXPECT_NE(file, nullptr);
  return file ? describe(*file).audio.wave : QVRWAVE{};
}

// An AudioSpecificConfig of object type 29: parametric stereo makes two channels of the one that is coded.
TEST(SampleEntry, OfParametricStereoWithoutChannelsAndRateIsStereoAtTwiceTheRateOfTheCore) {
  const QVRWAVE wave = waveOf(0xEB098800);
  EXPECT_EQ(wave.channels, 2);
  EXPECT_EQ(wave.samplesPerSecond, 48000u);
}

// One whose channel configuration, 13, is of more channels than are decoded.
TEST(SampleEntry, WithoutChannelsAndOfUnsupportedOnesIsStereo) {
  const QVRWAVE wave = waveOf(0x11E80000);
  EXPECT_EQ(wave.channels, 2);
  EXPECT_EQ(wave.samplesPerSecond, 48000u);
}

}  // namespace

}  // namespace fmp4
