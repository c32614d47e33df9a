// Files that change while they are read, and a folder that vanishes while it is recorded into.
#include "tests/faults/open_descriptors.h"
#include "tests/recovery/recovery.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kRecorded = kSegmentFrames + 7;

// A recording of video, sound and captions in one file.
struct Recorded : TempFolder {
  std::string path = file("out.ismv");
  Bytes bytes;

  Recorded() {
    MediaFile recording = startKind(*this, kAllInOne);
    EXPECT_TRUE(writeAll(*recording, kAllInOne, kRecorded));
    EXPECT_EQ(closeFile(recording), VL_OK);
    bytes = readFile(path);
  }
  // Writes over the bytes in place, so that whoever has the file open sees them.
  void overwrite(const Bytes& content) const {
    std::fstream out(path, std::ios::binary | std::ios::in | std::ios::out);
    out.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
  }
};

TEST(ChangedFile, TruncatedUnderAReaderGivesRightFramesOrFailures) {
  const LogCapture log;
  const Recorded recorded;
  unsigned failed = 0;
  for (std::size_t size = 0; size <= recorded.bytes.size(); size += 97) {
    recorded.overwrite(recorded.bytes);
    const MediaFile file = openFile(recorded.path);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(readFrame(*file, 0).status, VL_OK);
    std::filesystem::resize_file(recorded.path, size);
    for (const std::uint32_t frame : {26u, 1u, 12u, 13u, 2u}) {
      const VideoFrame read = readFrame(*file, frame);
      failed += read.status != VL_OK;
      if (read.status == VL_OK) {
        ASSERT_EQ(read.data, videoBytes(frame)) << size;
      }
    }
    recorded.overwrite(recorded.bytes);
    for (const std::uint32_t frame : {26u, 1u, 12u, 13u, 2u})
      ASSERT_EQ(readFrame(*file, frame).data, videoBytes(frame)) << "whole again, after " << size;
  }
  EXPECT_GT(failed, 20u);
}

TEST(ChangedFile, OverwrittenUnderAReaderFailsWhereItsFragmentsAreGone) {
  const LogCapture log;
  const Recorded recorded;
  const MediaFile file = openFile(recorded.path);
  ASSERT_EQ(readFrame(*file, 0).data, videoBytes(0));
  recorded.overwrite(Bytes(recorded.bytes.size()));
  EXPECT_EQ(readFrame(*file, 26).status, VL_FAILED);
  EXPECT_EQ(readFrame(*file, 12).status, VL_FAILED);
  recorded.overwrite(recorded.bytes);
  EXPECT_EQ(readFrame(*file, 26).data, videoBytes(26));
}

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
