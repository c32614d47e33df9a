// The first use of the plug-in and of its decoders on many threads at once. Suites run in processes of their
// own: what is made once for a process is made here.
#include <gtest/gtest.h>

#include <array>

#include "tests/plugin/audio.h"
#include "tests/plugin/recording.h"
#include "tests/threads/clip.h"
#include "tests/threads/in_threads.h"

namespace fmp4 {

namespace {

TEST(FirstUse, OfThePlugInLoadsItOnceAndEveryThreadGetsAnObject) {
  std::array<Plugin, kThreads> loaded;
  std::array<CAMediaFile*, kThreads> objects{};
  inThreads([&](std::uint32_t i) {
    loaded[i] = Plugin();
    std::uint32_t fileType = 147;
    objects[i] = objectOf(loaded[i].media(nullptr, 0, &fileType));
  });
  for (std::uint32_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(loaded[i].media, loaded[0].media) << i;
    ASSERT_NE(objects[i], nullptr) << i;
  }
  inThreads([&](std::uint32_t i) {
    MFXCLOSE close{};
    loaded[i].media(objects[i], 2, &close);
  });
}

// The decoders' tables are made when the first decoder is.
TEST(FirstDecoding, GivesEveryThreadTheSameSamples) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeClip(path);
  std::array<Samples, kThreads> samples;
  inThreads([&](std::uint32_t i) {
    const MediaFile file = openFile(path);
    ASSERT_NE(file, nullptr);
    samples[i] = readAll(*file, 4096, describe(*file).audio.wave.channels);
  });
  EXPECT_GE(samples[0].size(), 2 * 44100u);
  for (std::uint32_t i = 1; i < kThreads; ++i) EXPECT_EQ(samples[i], samples[0]) << i;
}

}  // namespace

}  // namespace fmp4
