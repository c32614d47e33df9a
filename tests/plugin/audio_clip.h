// Clips with audio, opened, and checks that hold for every way of reading one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tests/audio/streams.h"
#include "tests/plugin/audio.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/sanitized.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// Container options: many fragments, after a movie box that waits for the first packets' configuration.
inline const std::vector<std::string> kFragments = {"-movflags", "delay_moov", "-frag_duration", "300000"};

// A clip in a folder of its own, opened.
struct Clip {
  TempFolder folder;
  std::string path = folder.file("clip.mp4");
  MediaFile file;

  Clip(const std::vector<std::string>& inputs, const std::vector<std::string>& coding) {
    makeMedia(path, inputs + coding);
    file = openFile(path);
  }
  CAMediaFile& operator*() const { return *file; }
};

inline int largestDifference(const Samples& a, const Samples& b) {
  int largest = 0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// Ranges in random order give the same samples as reading from the start.
inline void expectRandomReadsToAgree(const Clip& clip) {
  ASSERT_NE(clip.file, nullptr);
  const Samples entire = readAll(*clip, lengthOf(*clip));
  const std::uint32_t total = lengthOf(*clip);
  ASSERT_EQ(entire.size(), total * 2u);
  std::mt19937 random(11);
  for (int i = 0; i < ofSanitized(300, 60); ++i) {
    const std::uint32_t at = static_cast<std::uint32_t>(random() % total);
    const std::uint32_t count =
        1 + static_cast<std::uint32_t>(random() % std::min<std::uint32_t>(3000, total - at));
    const Audio audio = readAudio(*clip, at, count);
    ASSERT_EQ(audio.status, VL_OK);
    ASSERT_EQ(audio.samples, Samples(entire.begin() + at * 2, entire.begin() + (at + count) * 2))
        << at << "+" << count;
  }
}

inline void expectBlocksToAgree(const Clip& clip, const std::vector<std::uint32_t>& blocks) {
  ASSERT_NE(clip.file, nullptr);
  const Samples entire = readAll(*clip, lengthOf(*clip));
  for (const std::uint32_t block : blocks) EXPECT_EQ(readAll(*clip, block), entire) << block;
}

// PCM frames [from, to), each with a request of its own.
inline void expectSingleReadsToAgree(const Clip& clip, std::uint32_t from, std::uint32_t to) {
  ASSERT_NE(clip.file, nullptr);
  const Samples entire = readAll(*clip, lengthOf(*clip));
  for (std::uint32_t at = from; at < to; ++at) {
    const Audio audio = readAudio(*clip, at, 1);
    ASSERT_EQ(audio.samples, Samples(entire.begin() + at * 2, entire.begin() + at * 2 + 2)) << at;
  }
}

// Two equal channels that are louder than `level` somewhere.
inline void expectBothChannelsAlike(const Clip& clip, int level) {
  ASSERT_NE(clip.file, nullptr);
  const Samples all = readAll(*clip, 4096);
  ASSERT_EQ(all.size(), lengthOf(*clip) * 2u);
  int loudest = 0;
  for (std::size_t i = 0; i < all.size(); i += 2) {
    ASSERT_EQ(all[i], all[i + 1]);
    loudest = std::max(loudest, std::abs(all[i]));
  }
  EXPECT_GT(loudest, level);
}

// Reads the whole track at once, in blocks and at random: all must give the same. Returns its samples.
inline Samples readInEveryWay(const std::string& clip, std::uint32_t channels,
                              int reads = ofSanitized(60, 15)) {
  const MediaFile opened = openFile(clip);
  EXPECT_NE(opened, nullptr);
  if (opened == nullptr) return {};
  CAMediaFile& file = *opened;
  const std::uint32_t total = lengthOf(file);
  EXPECT_EQ(channels, describe(file).audio.wave.channels);
  const Samples entire = readAll(file, total, channels);
  EXPECT_EQ(std::size_t{total} * channels, entire.size());
  if (entire.size() != std::size_t{total} * channels) return entire;
  for (const std::uint32_t block : {2048u, 1001u, 1602u, 9999u})
    EXPECT_EQ(readAll(file, block, channels), entire) << block;
  std::mt19937 random(7);
  for (int i = 0; i < reads; ++i) {
    const auto at = static_cast<std::uint32_t>(random() % total);
    const auto count = 1 + static_cast<std::uint32_t>(random() % std::min(5000u, total - at));
    const Audio audio = readAudio(file, at, count, channels);
    EXPECT_EQ(audio.status, VL_OK);
    const bool same = audio.samples == Samples(entire.begin() + std::ptrdiff_t{at} * channels,
                                               entire.begin() + (std::ptrdiff_t{at} + count) * channels);
    EXPECT_TRUE(same) << at << "+" << count;
    if (!same) break;
  }
  return entire;
}

// The output of ffmpeg's decoder for a track's packets, from the first on, not rounded; full scale is 32768.
inline std::vector<float> ffmpegPackets(const TempFolder& folder, const std::string& clip,
                                        const std::string& stream = "0:a:0") {
  const std::string adts = folder.file("packets.aac");
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", clip, "-map", stream, "-c", "copy", "-f",
              "adts", adts});
  return FfmpegDecode(adts, {"-c:a", "aac"});
}

}  // namespace fmp4
