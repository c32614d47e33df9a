// Reading a recording while it is made, on many threads.
#include <gtest/gtest.h>

#include <atomic>

#include "tests/plugin/recording.h"
#include "tests/threads/in_threads.h"

namespace fmp4 {

namespace {

// One records, the others open what is there again and again.
TEST(GrowingFile, IsReadByManyObjectsWhileItIsRecorded) {
  const TempFolder folder;
  const std::string path = folder.file("growing.m4v");
  MediaFile recording = startRecording(folder.file("growing.mp4"));
  ASSERT_NE(recording, nullptr);
  writeFrames(*recording, 300);
  std::atomic<bool> ended = false;
  inThreads([&](std::uint32_t i) {
    if (i == 0) {
      writeFrames(*recording, 1200, 300);
      EXPECT_EQ(closeFile(recording), VL_OK);
      ended = true;
    }
    for (bool last = false; !last;) {
      last = ended;
      const MediaFile file = openFile(path);
      ASSERT_NE(file, nullptr);
      const std::uint32_t frames = file->GetTotalFrames();
      ASSERT_GT(frames, 0u);
      EXPECT_EQ(readFrame(*file, frames - 1).data, frameBytes(frames - 1));
      if (last) {
        EXPECT_EQ(frames, 1500u);
      }
    }
  });
}

}  // namespace

}  // namespace fmp4
