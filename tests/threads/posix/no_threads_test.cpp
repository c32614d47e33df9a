// The threads of a process, as Linux lists them.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

std::ptrdiff_t threadsOfThisProcess() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                       std::filesystem::directory_iterator());
}

TEST(NoThreads, AreStartedByThePlugInWhenItRecordsAndReads) {
  const TempFolder folder;
  const std::ptrdiff_t before = threadsOfThisProcess();
  MediaFile recording = startRecording(folder.file("out.mp4"), withAudio());
  writeFrames(*recording, 60);
  writeAudio(*recording, 94);
  EXPECT_EQ(threadsOfThisProcess(), before);
  EXPECT_EQ(closeFile(recording), VL_OK);
  const MediaFile file = openFile(folder.file("out.m4v"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(readFrame(*file, 30).data, frameBytes(30));
  EXPECT_EQ(threadsOfThisProcess(), before);
}

}  // namespace

}  // namespace fmp4
