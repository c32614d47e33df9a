// Which of several audio tracks a channel selects.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// Input: as many tones as channels, the first of `frequency` hertz and each a tenth higher than the
// previous one.
std::vector<std::string> tones(double frequency, const std::string& layout, int channels) {
  std::string expressions;
  for (int i = 0; i < channels; ++i, frequency *= 1.1) {
    if (i > 0) expressions += '|';
    expressions += "0.2*sin(" + std::to_string(frequency) + "*2*PI*t)";
  }
  return {"-f", "lavfi", "-i", "aevalsrc=" + expressions + ":c=" + layout + ":s=48000:d=1"};
}

// Writes the channel count into the `number`th sample entry of an audio type, as muxers other than ffmpeg
// do, which writes 2 in each.
void stateChannels(const std::string& path, std::string_view type, int number, std::uint8_t count) {
  Bytes content = readFile(path);
  const Bytes wanted = text(type);
  auto entry = content.begin();
  for (int i = 0; i <= number; ++i) {
    if (i > 0) entry += 4;
    entry = std::search(entry, content.end(), wanted.begin(), wanted.end());
    ASSERT_NE(entry, content.end());
  }
  entry[4 + 8 + 8 + 1] = count;  // type, fields of any entry, reserved, high byte of the count
  writeFile(path, content);
}

// Two AAC tracks with the given channel counts, opened, and each of them in a file of its own.
struct TwoTracks {
  TempFolder folder;
  std::string path = folder.file("clip.mp4");
  MediaFile file;
  MediaFile alone[2];

  TwoTracks(const std::vector<std::string>& inputs, std::uint8_t first, std::uint8_t second) {
    makeMedia(path,
              inputs + std::vector<std::string>{"-map", "0:a", "-map", "1:a", "-c:a", "aac"} + kFragments);
    const std::uint8_t counts[] = {first, second};
    for (int i = 0; i < 2; ++i) {
      const std::string own = folder.file("track" + std::to_string(i) + ".mp4");
      makeMedia(own, std::vector<std::string>{"-i", path, "-map", "0:a:" + std::to_string(i), "-c", "copy"} +
                         kFragments);
      stateChannels(own, "mp4a", 0, counts[i]);
      alone[i] = openFile(own);
      stateChannels(path, "mp4a", i, counts[i]);
    }
    file = openFile(path);
  }
};

// The channel selects the track and is described as that track.
void expectTrack(const TwoTracks& clip, std::uint32_t channel, int track, std::uint16_t channels) {
  SCOPED_TRACE(channel);
  const Described described = describe(*clip.file, 1u << channel);
  EXPECT_EQ(described.audio.wave.channels, channels);
  EXPECT_EQ(described.audio.wave.blockAlign, channels * 2);
  constexpr std::uint32_t kCount = 40000;
  const Audio expected = readAudio(*clip.alone[track], 0, kCount, channels);
  ASSERT_EQ(expected.status, VL_OK);
  ASSERT_EQ(expected.samples.size(), std::size_t{kCount} * channels);
  const Audio audio = readAudio(*clip.file, 0, kCount, channels, 1u << channel);
  EXPECT_EQ(audio.status, VL_OK);
  EXPECT_EQ(audio.samples, expected.samples);
}

TEST(Channels, EachOfTwoMonoTracksHasOneChannel) {
  const TwoTracks clip(tones(440, "mono", 1) + tones(880, "mono", 1), 1, 1);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.file->Channels(), 0x3u);
  expectTrack(clip, 0, 0, 1);
  expectTrack(clip, 1, 1, 1);
  EXPECT_NE(readAudio(*clip.file, 0, 9000, 1, 0x1).samples, readAudio(*clip.file, 0, 9000, 1, 0x2).samples);
  EXPECT_EQ(readAudio(*clip.file, 0, 10, 1, 0x4).status, 0xE8021001u) << "outside the mask";
}

TEST(Channels, OfSixAndTwoTheFirstSixSelectTheFirstTrack) {
  const TwoTracks clip(tones(440, "5.1", 6) + tones(1300, "stereo", 2), 6, 2);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.file->Channels(), 0xFFu);
  for (const std::uint32_t channel : {0u, 2u, 5u}) expectTrack(clip, channel, 0, 6);
  for (const std::uint32_t channel : {6u, 7u}) expectTrack(clip, channel, 1, 2);
}

TEST(Channels, OfTwoAndSixTheFirstTwoSelectTheFirstTrack) {
  const TwoTracks clip(tones(1300, "stereo", 2) + tones(440, "5.1", 6), 2, 6);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.file->Channels(), 0xFFu);
  for (const std::uint32_t channel : {0u, 1u}) expectTrack(clip, channel, 0, 2);
  for (const std::uint32_t channel : {2u, 4u, 7u}) expectTrack(clip, channel, 1, 6);
}

// AC-3 occupies the channels that its sample entry states and delivers two.
TEST(Channels, AfterAc3OfSixChannelsTheSeventhSelectsTheNextTrack) {
  const Clip made(tones(440, "5.1", 6) + tones(1300, "stereo", 2),
                  std::vector<std::string>{"-map", "0:a", "-map", "1:a", "-c:a:0", "ac3", "-c:a:1", "aac",
                                           "-aac_pns", "0"} +
                      kFragments);
  stateChannels(made.path, "ac-3", 0, 6);
  const MediaFile file = openFile(made.path);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Channels(), 0xFFu);
  const QVRAUDIO ac3 = describe(*file, 1u << 5).audio, aac = describe(*file, 1u << 6).audio;
  EXPECT_EQ(ac3.codec, 0x61632D33u);
  EXPECT_EQ(ac3.wave.channels, 2);
  EXPECT_EQ(ac3.channelMask, 0x3Fu);
  EXPECT_EQ(aac.codec, 0x6D703461u);
  EXPECT_EQ(aac.wave.channels, 2);
  EXPECT_EQ(aac.channelMask, 0xC0u);
  const Audio first = readAudio(*file, 0, 30000, 2, 1u << 0);
  ASSERT_EQ(first.status, VL_OK);
  for (const std::uint32_t channel : {2u, 5u})
    EXPECT_EQ(readAudio(*file, 0, 30000, 2, 1u << channel).samples, first.samples) << channel;
  const Audio second = readAudio(*file, 0, 30000, 2, 1u << 7);
  ASSERT_EQ(second.status, VL_OK);
  const std::vector<float> theirs = ffmpegPackets(made.folder, made.path, "0:a:1");
  for (std::size_t i = 0; i < second.samples.size(); ++i) ASSERT_NEAR(second.samples[i], theirs[i], 1.5) << i;
}

}  // namespace

}  // namespace fmp4
