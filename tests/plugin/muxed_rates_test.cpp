// Rate, length and audio of one source as ffmpeg muxes it in its ways to fragment, at every broadcast rate.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

struct Rate {
  const char* name;
  const char* text;  // as ffmpeg takes it
  std::uint32_t rate;
  std::uint32_t scale;
};

struct MuxedCase {
  Rate rate;
  int bFrames;
};

constexpr std::uint32_t kSampleRate = 48000;
constexpr std::uint32_t kUnit = 1024;
constexpr std::uint32_t kSeconds = 2;

const std::vector<std::vector<std::string>> kMuxings = {
    {"-movflags", "frag_keyframe+empty_moov"},
    {"-movflags", "frag_keyframe+empty_moov+default_base_moof"},
    {"-movflags", "frag_keyframe+empty_moov+separate_moof"},
    {"-movflags", "dash+frag_keyframe+empty_moov"},
    {"-movflags", "dash+global_sidx+frag_keyframe+empty_moov"},
    {"-movflags", "cmaf+frag_keyframe+empty_moov"},
    {"-movflags", "frag_keyframe+delay_moov"},
    {"-movflags", "empty_moov", "-frag_duration", "300000"},
};

// The decoded access units at their decoding times: after each other, or later where the time exceeds the end
// of the previous one by half a unit or more.
Samples placed(const std::vector<float>& decoded, const std::vector<Packet>& packets) {
  Samples track;
  for (std::size_t i = 0; i < packets.size() && (i + 1) * kUnit * 2 <= decoded.size(); ++i) {
    const auto time = static_cast<std::size_t>(packets[i].dts - packets[0].dts);
    if (time >= track.size() / 2 + kUnit / 2) track.resize(time * 2);
    for (std::size_t k = 0; k < kUnit * 2; ++k)
      track.push_back(
          static_cast<std::int16_t>(std::clamp(std::lrint(decoded[i * kUnit * 2 + k]), -32768l, 32767l)));
  }
  return track;
}

class MuxedRates : public testing::TestWithParam<MuxedCase> {};

TEST_P(MuxedRates, RateFramesDurationAndAudioAreRightInEveryMuxing) {
  const auto& [rate, bFrames] = GetParam();
  const TempFolder folder;
  const std::string source = folder.file("source.mp4"), path = folder.file("clip.mp4");
  makeMedia(source, videoInput(kSeconds, rate.text, "160x96") + toneInput(kSeconds) + h264Codec(12, bFrames) +
                        std::vector<std::string>{"-ac", "2", "-c:a", "aac", "-aac_pns", "0"});
  const std::vector<float> decoded = ffmpegPackets(folder, source);
  const std::uint32_t frames = (kSeconds * rate.rate + rate.scale - 1) / rate.scale;

  for (const auto& muxing : kMuxings) {
    SCOPED_TRACE(muxing[1]);
    makeMedia(path, std::vector<std::string>{"-i", source, "-c", "copy"} + muxing);
    const MediaFile file = openFile(path);
    ASSERT_NE(file, nullptr);
    const Described described = describe(*file);
    EXPECT_EQ(described.system.rate, rate.rate);
    EXPECT_EQ(described.system.scale, rate.scale);
    EXPECT_EQ(described.system.totalFrames, frames);
    EXPECT_EQ(described.system.microSecondsPerFrame, std::uint64_t{1000000} * rate.scale / rate.rate);

    const Samples expected = placed(decoded, ffprobePackets(path, "a:0", {"-ignore_editlist", "1"}));
    const auto sampleOf = [&](std::uint32_t frame) {
      return static_cast<std::uint32_t>(std::uint64_t{frame} * described.system.scale * kSampleRate /
                                        described.system.rate);
    };
    for (const std::uint32_t first : {0u, 7u, frames - 31}) {
      const std::uint32_t from = sampleOf(first), to = sampleOf(first + 30);
      ASSERT_LE(to * 2, expected.size());
      const Audio audio = readAudio(*file, from, to - from);
      ASSERT_EQ(audio.status, VL_OK) << first;
      EXPECT_EQ(audio.samples.size(), (to - from) * 2u);
      const Samples wanted(expected.begin() + from * 2, expected.begin() + to * 2);
      EXPECT_LE(largestDifference(audio.samples, wanted), 1) << first;
    }
  }
}

// Without audio: where every frame is a fragment, ffmpeg states a duration of 0 for some access units, and
// a track is as long as it states.
TEST_P(MuxedRates, AFragmentForEveryFrameHasTheSameRate) {
  const auto& [rate, bFrames] = GetParam();
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeMedia(path, videoInput(1, rate.text, "160x96") + toneInput(1) + h264Codec(12, bFrames) +
                      std::vector<std::string>{"-c:a", "aac", "-movflags", "frag_every_frame+empty_moov"});
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr);
  const QVRSYSTEM system = describe(*file).system;
  EXPECT_EQ(system.rate, rate.rate);
  EXPECT_EQ(system.scale, rate.scale);
  EXPECT_EQ(system.totalFrames, ffprobePackets(path, "v:0").size());
}

std::vector<MuxedCase> muxedCases() {
  std::vector<MuxedCase> all;
  for (const Rate& rate : {Rate{"24", "24", 24, 1},
                           {"25", "25", 25, 1},
                           {"29_97", "30000/1001", 30000, 1001},
                           {"30", "30", 30, 1},
                           {"50", "50", 50, 1},
                           {"59_94", "60000/1001", 60000, 1001},
                           {"60", "60", 60, 1}}) {
    for (const int bFrames : {0, 2}) all.push_back({rate, bFrames});
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(Broadcast, MuxedRates, testing::ValuesIn(muxedCases()),
                         [](const testing::TestParamInfo<MuxedCase>& info) {
                           return std::string(info.param.rate.name) + (info.param.bFrames ? "_b" : "_no_b");
                         });

}  // namespace

}  // namespace fmp4
