// Files that are replaced or removed while they are read, and a folder that vanishes while it is recorded
// into.
#include "tests/faults/open_descriptors.h"
#include "tests/faults/recorded_file.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

TEST(ChangedFile, ReplacedOrRemovedUnderAReaderStaysAsItWasOpened) {
  const LogCapture log;
  const Recorded recorded;
  const MediaFile file = openFile(recorded.path);
  writeFile(recorded.file("other"), Bytes(100));
  std::filesystem::rename(recorded.file("other"), recorded.path);
  for (std::uint32_t i = 0; i < kRecorded / 2; ++i) ASSERT_EQ(readFrame(*file, i).data, videoBytes(i));
  std::filesystem::remove_all(recorded.path);
  for (std::uint32_t i = kRecorded / 2; i < kRecorded; ++i)
    ASSERT_EQ(readFrame(*file, i).data, videoBytes(i));
}

// The recorder has its media open; its lists can no longer be written.
TEST(VanishedFolder, OfARecordingEndsItWithoutHarm) {
  const LogCapture log;
  for (const Kind& kind : {kAudioApart, kAllInOne}) {
    const std::size_t descriptors = openDescriptors();
    const TempFolder folder;
    const std::string within = folder.file("within");
    std::filesystem::create_directory(within);
    {
      MediaFile file = createFile(within + '/' + kind.name);
      ASSERT_NE(file, nullptr);
      RecordingDescription d;
      d.audioMask = 3;
      file->SetCodecOption(1, 0, 8, kInterval, nullptr);
      describeVideo(*file, d);
      describeAudio(*file, d);
      std::filesystem::remove_all(within);
      writeAll(*file, kind, 2 * kSegmentFrames + 7);
      closeFile(file);
    }
    EXPECT_FALSE(std::filesystem::exists(within));
    EXPECT_EQ(openDescriptors(), descriptors);
  }
}

}  // namespace

}  // namespace fmp4
