// Reading and recording by many objects at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "tests/plugin/audio.h"
#include "tests/plugin/recording.h"
#include "tests/threads/clip.h"
#include "tests/threads/in_threads.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kFrames = 90;
constexpr std::uint32_t kAudioUnits = 141;  // three seconds at 48 kHz

std::string nameOf(const TempFolder& folder, std::uint32_t recording) {
  return folder.file("recording" + std::to_string(recording) + ".mp4");
}

// Each recording has frames of its own.
std::uint32_t frameOf(std::uint32_t recording, std::uint32_t frame) {
  return recording * 1000 + frame;
}

void recordFrames(const std::string& path, std::uint32_t recording) {
  MediaFile file = startRecording(path, withAudio());
  ASSERT_NE(file, nullptr);
  for (std::uint32_t i = 0; i < kFrames; ++i)
    ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(frameOf(recording, i)), i,
                          i % 30 == 0 ? DFRAME_KEY : DFRAME_NOT_KEY),
              VL_OK);
  writeAudio(*file, kAudioUnits);
  EXPECT_EQ(closeFile(file), VL_OK);
}

// Reads every frame once, in an order of the reader's own.
void expectFrames(const std::string& path, std::uint32_t recording, std::uint32_t reader) {
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr) << path;
  ASSERT_EQ(file->GetTotalFrames(), kFrames);
  std::vector<std::uint32_t> order(kFrames);
  std::iota(order.begin(), order.end(), 0u);
  std::shuffle(order.begin(), order.end(), std::mt19937(reader));
  for (const std::uint32_t frame : order) {
    const VideoFrame read = readFrame(*file, frame);
    ASSERT_EQ(read.status, VL_OK) << frame;
    ASSERT_EQ(read.data, frameBytes(frameOf(recording, frame))) << frame;
  }
}

TEST(ManyObjects, RecordDifferentFilesAndReadThemBack) {
  const TempFolder folder;
  inThreads([&](std::uint32_t i) { recordFrames(nameOf(folder, i), i); });
  // Media and a playlist for each of video and audio, and a manifest.
  EXPECT_EQ(namesIn(folder).size(), 5 * std::size_t{kThreads});
  inThreads(
      [&](std::uint32_t i) { expectFrames(folder.file("recording" + std::to_string(i) + ".m4v"), i, i); });
}

TEST(ManyObjects, ReadTheSameFile) {
  const TempFolder folder;
  recordFrames(nameOf(folder, 7), 7);
  inThreads([&](std::uint32_t i) { expectFrames(folder.file("recording7.m4v"), 7, i); });
}

TEST(ManyObjects, DecodeTheSameFileFromDifferentPlaces) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeClip(path);
  const MediaFile alone = openFile(path);
  ASSERT_NE(alone, nullptr);
  const std::uint32_t channels = describe(*alone).audio.wave.channels;
  const Samples expected = readAll(*alone, 4096, channels);
  const std::uint32_t total = lengthOf(*alone);
  inThreads([&](std::uint32_t i) {
    const MediaFile file = openFile(path);
    ASSERT_NE(file, nullptr);
    std::mt19937 random(i);
    for (int reads = 0; reads < 5; ++reads) {
      const auto at = static_cast<std::uint32_t>(random() % (total - 2000));
      const Audio audio = readAudio(*file, at, 2000, channels);
      ASSERT_EQ(audio.status, VL_OK);
      ASSERT_TRUE(std::equal(audio.samples.begin(), audio.samples.end(),
                             expected.begin() + std::ptrdiff_t{at} * channels));
    }
  });
}

}  // namespace

}  // namespace fmp4
