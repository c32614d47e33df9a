// What is recorded reads back the same, through its media and through its manifest.
#include <gtest/gtest.h>

#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

struct RecordedRate {
  std::uint32_t rate, scale;
};
constexpr RecordedRate kRates[] = {{24000, 1001}, {24, 1}, {25, 1},       {30000, 1001},
                                   {30, 1},       {50, 1}, {60000, 1001}, {60, 1}};
constexpr std::uint32_t kIntervals[] = {1, 2, 12, 15, 24, 25, 30, 37, 48, 50, 60, 90, 120, 250};

// Frames per fragment and fragments per segment, as in the test of recording.
struct RecordedGeometry {
  std::uint32_t frames, fragments;
};
constexpr RecordedGeometry kGeometries[] = {{30, 10}, {2, 10},  {12, 10}, {15, 10}, {24, 10},
                                            {25, 10}, {30, 10}, {1, 0},   {24, 10}, {25, 10},
                                            {30, 10}, {30, 9},  {30, 8},  {25, 10}};

struct RoundTripCase {
  std::size_t interval;  // into kIntervals
  std::size_t rate;      // into kRates
  std::uint32_t frames;
  enum Audio { None, Apart, Inside } audio;
};

// Every interval with every rate; lengths and audio cycle through all their values.
std::vector<RoundTripCase> roundTripCases() {
  std::vector<RoundTripCase> all;
  for (std::size_t i = 0; i < std::size(kIntervals); ++i) {
    const RecordedGeometry g = kGeometries[i];
    const std::uint32_t segment = g.fragments != 0 ? g.frames * g.fragments : 10;
    const std::uint32_t lengths[] = {1,           g.frames > 1 ? g.frames - 1 : 1,
                                     g.frames,    g.frames + 1,
                                     segment - 1, segment,
                                     segment + 1, 2 * segment};
    for (std::size_t r = 0; r < std::size(kRates); ++r)
      all.push_back(
          {i, r, lengths[(i + r) % std::size(lengths)], static_cast<RoundTripCase::Audio>((i + 2 * r) % 3)});
  }
  return all;
}

std::size_t sizeOf(std::uint32_t frame) {
  return 1 + frame * 37 % 400;
}
bool isKey(std::uint32_t frame, std::uint32_t interval) {
  return frame % std::max(interval, 2u) == 0;
}

class RoundTrip : public testing::TestWithParam<RoundTripCase> {};

TEST_P(RoundTrip, GivesTheSameFrames) {
  const RoundTripCase c = GetParam();
  const std::uint32_t interval = kIntervals[c.interval];
  const TempFolder folder;
  RecordingDescription d;
  d.rate = kRates[c.rate].rate;
  d.scale = kRates[c.rate].scale;
  d.audioMask = c.audio == RoundTripCase::None ? 0 : 3;
  MediaFile file =
      startRecording(folder.file(c.audio == RoundTripCase::Inside ? "out.ismv" : "out.mp4"), d, interval);
  std::uint32_t audioUnits = 0;
  for (std::uint32_t i = 0; i < c.frames; ++i) {
    while (c.audio != RoundTripCase::None && audioUnits * 1024.0 / 48000 < (i + 1.0) * d.scale / d.rate)
      writeAudio(*file, 1, audioUnits++);
    ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(i, sizeOf(i)), i,
                          isKey(i, interval) ? DFRAME_KEY : DFRAME_NOT_KEY, static_cast<std::int32_t>(i % 5)),
              VL_OK);
  }
  EXPECT_EQ(closeFile(file), VL_OK);

  // Smooth Streaming names are found through their manifest only.
  std::vector<std::string> names = {"out.mpd", "out.m4v"};
  if (c.audio == RoundTripCase::Inside) names = {"out.xml"};
  for (const std::string& name : names) {
    const MediaFile read = openFile(folder.file(name));
    ASSERT_NE(read, nullptr) << name;
    ASSERT_EQ(read->GetTotalFrames(), c.frames) << name;
    const Described described = describe(*read);
    EXPECT_EQ(std::uint64_t{described.video->stream.rate} * d.scale,
              std::uint64_t{described.video->stream.scale} * d.rate);
    EXPECT_EQ(described.video->bitmap.width, 320);
    EXPECT_EQ(described.video->bitmap.height, 180);
    for (std::uint32_t i = 0; i < c.frames; ++i) {
      const VideoFrame frame = readFrame(*read, i);
      ASSERT_EQ(frame.status, VL_OK) << name << ' ' << i;
      ASSERT_EQ(frame.data, frameBytes(i, sizeOf(i))) << name << ' ' << i;
      EXPECT_EQ(frame.key(), isKey(i, interval)) << name << ' ' << i;
      EXPECT_EQ(frame.descriptor.compositionOffset, static_cast<std::int32_t>(i % 5)) << name << ' ' << i;
    }
    if (c.audio != RoundTripCase::None && name != "out.m4v") {
      EXPECT_EQ(described.audio.stream.length, audioUnits * 1024) << name;
      EXPECT_EQ(described.audio.wave.samplesPerSecond, 48000u);
    }
  }
}

std::string roundTripName(const testing::TestParamInfo<RoundTripCase>& info) {
  const RoundTripCase& c = info.param;
  constexpr const char* kAudio[] = {"Silent", "SeparateAudio", "AudioInside"};
  return "Interval" + std::to_string(kIntervals[c.interval]) + "RecordedRate" +
         std::to_string(kRates[c.rate].rate) + "Over" + std::to_string(kRates[c.rate].scale) + "Frames" +
         std::to_string(c.frames) + kAudio[c.audio];
}

INSTANTIATE_TEST_SUITE_P(Recordings, RoundTrip, testing::ValuesIn(roundTripCases()), roundTripName);

}  // namespace

}  // namespace fmp4
