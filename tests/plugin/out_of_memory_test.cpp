// What is logged and returned when memory runs out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mp4box/box.h"
#include "mp4box/top_level_reader.h"
#include "tests/plugin/audio.h"
#include "tests/plugin/built_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/plugin/recording.h"
#include "tests/support/controlled_new.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr std::size_t kSampleWindowBytes = 256 * 1024;

struct Clip : TempFolder {
  std::string path = file("clip.mp4");
  Clip() {
    TrafSpec traf;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
    writeFile(path, join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {traf})}));
  }
};

TEST(OutOfMemory, WithoutARootTheProbeAndTheOpenReportIt) {
  const Clip clip;
  LogCapture log;
  {
    const FailingNew failing(sizeof(Mp4TopLevelReader));
    EXPECT_EQ(plugin().check(clip.path.c_str(), 0, nullptr), 0xFFFFFFFF);
    EXPECT_THAT(log.lines, ElementsAre(pluginError("Cannot find file root")));
    log.lines.clear();
    EXPECT_EQ(openFile(clip.path), nullptr);
  }
  EXPECT_THAT(log.lines, ElementsAre(pluginError("Cannot find file root")));
  EXPECT_NE(openFile(clip.path), nullptr);
}

TEST(OutOfMemory, AFrameWithoutASampleWindowFailsAndIsReadLater) {
  const Clip clip;
  const MediaFile file = openFile(clip.path);
  ASSERT_NE(file, nullptr);
  LogCapture log;
  {
    const FailingNew failing(kSampleWindowBytes);
    EXPECT_EQ(readFrame(*file, 0).status, 0xFFFFFFFFu);
  }
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - Failed to allocate mdat buffer for reading"},
                          LogLine{VL_LOG_ERROR,
                                  "ERROR(vlx_Fmp4): Unable to find correct video chunk for this frame\n"}));
  EXPECT_EQ(readFrame(*file, 1).data, sampleOf(10, 2).data);
}

TEST(OutOfMemory, AVideoTrackWithoutAStreamHolderFailsTheOpen) {
  const Clip clip;
  const MediaFile file = createObject();
  const auto open = [&] {
    return file->Open(clip.path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0,
                      0);
  };
  {
    const FailingNew failing(sizeof(QVRSTREAM));
    EXPECT_EQ(open(), 0xE8022020u);
  }
  EXPECT_EQ(open(), VL_OK);
}

TEST(OutOfMemory, AnAudioTrackWithoutAStreamHolderIsReportedAndTheFileOpens) {
  const TempFolder folder;
  const std::string path = folder.file("audio.m4a");
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  TrafSpec videoRun, audioRun;
  videoRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  writeFile(path, join({fileTypeBox(), movieBox({audio}), fragment(1, {audioRun})}));
  LogCapture log;
  const FailingNew failing(sizeof(QVRSTREAM));
  EXPECT_EQ(openFile(path, MF_OPEN_AUDIO_ONLY), nullptr) << "without a stream there is nothing to read";
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_RESULT, "Open: 0xE8022007\n"}));
}

TEST(OutOfMemory, DescribedStreamsWithoutHoldersAreReported) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  ASSERT_NE(file, nullptr);
  RecordingDescription d;
  d.audioMask = 3;
  LogCapture log;
  const FailingNew failing(sizeof(QVRSTREAM));
  EXPECT_EQ(describeVideo(*file, d), 0xE8022007u);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_PLAIN, "Open(0xE8022007)"}));
  log.lines.clear();
  EXPECT_EQ(describeAudio(*file, d), VL_OK);
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_RESULT, "Open: 0xE8022007\n"}));
}

TEST(OutOfMemory, FailedAllocationsInDescriptionsGiveTheHostAStatusOnly) {
  const TempFolder folder;
  RecordingDescription d;
  d.audioMask = 3;
  for (std::size_t bytes = 1; bytes <= 512; ++bytes) {
    LogCapture log;
    const MediaFile file = createFile(folder.file("out.mp4"));
    ASSERT_NE(file, nullptr);
    const Described defaults = describe(*file);
    std::copy(d.configuration.begin(), d.configuration.end(), defaults.video->colourTable);
    QVRAUDIO audio = defaults.audio;
    const FailingNew failing(bytes);
    file->SetFileInfo(3, &defaults.system, defaults.video.get(), &audio, &defaults.info);
  }
}

TEST(OutOfMemory, FailedSmallAllocationsGiveTheHostAStatusOnly) {
  const Clip clip;
  for (std::size_t bytes = 1; bytes <= 512; ++bytes) {
    LogCapture log;
    const FailingNew failing(bytes);
    MFXOPEN request = readRequest(clip.path);
    const MediaFile file(objectOf(plugin().media(nullptr, 1, &request)));
    if (!file) continue;
    DFRAME d{};
    d.size = sizeof d;
    file->Read(1, 1, 1, QVR_MODE_VIDEO, &d, nullptr);
    file->FindKeyFrame(1, 1, 1, 0);
  }
  EXPECT_NE(openFile(clip.path), nullptr) << "with memory the file opens";
}

// The reader's position does not advance for a request that ran out of memory: its samples are still there.
TEST(OutOfMemory, AudioOfAFailedRequestIsReadByTheNext) {
  constexpr std::size_t kLargeUnit = 9000, kHeader = 7;
  const CodedAudio& audioRun = aacAudio();
  const BuiltFile clip = builtClip(audioRun, [](RunSpec& run) { run.samples[5].data.resize(kLargeUnit); });
  const BuiltFile other = builtClip(audioRun, [](RunSpec& run) { run.samples[5].data.resize(kLargeUnit); });
  const Samples expected = readAudio(*other, 4096, 4096).samples;
  ASSERT_EQ(readAudio(*clip, 0, 4096).status, VL_OK);
  {
    const FailingNew failing(kHeader + kLargeUnit);
    EXPECT_EQ(readAudio(*clip, 4096, 4096).status, 0xFFFFFFFFu);
  }
  for (std::uint32_t part = 0; part < 4; ++part) {
    EXPECT_EQ(readAudio(*clip, 4096 + part * 1024, 1024).samples,
              Samples(expected.begin() + part * 2048, expected.begin() + (part + 1) * 2048));
  }
}

// HE-AAC allocates memory with the first access unit that decodes.
CodedAudio heAacAudio() {
  CodedAudio audioRun{2048, audioEntry("mp4a", 2, 16, 24000, elementaryStreamBox(0x40, 0x1310)), {}};
  const Bytes stream = readFile(std::string(VL_TEST_DATA) + "/he_v1_stereo_48k.aac");
  constexpr std::size_t kHeader = 7;
  for (std::size_t at = 0; at + kHeader < stream.size() && audioRun.units.size() < 12;) {
    const std::size_t size =
        (stream[at + 3] & 3u) << 11 | std::size_t{stream[at + 4]} << 3 | std::size_t{stream[at + 5]} >> 5;
    const auto unit = stream.begin() + static_cast<std::ptrdiff_t>(at);
    audioRun.units.emplace_back(unit + kHeader, unit + static_cast<std::ptrdiff_t>(size));
    at += size;
  }
  return audioRun;
}

// Whichever allocation of a first read fails: it fails or delivers all, and later reads deliver all.
TEST(OutOfMemory, AFailedFirstReadOfAudioLosesNothing) {
  const CodedAudio audioRun = heAacAudio();
  for (const bool damaged : {false, true}) {
    const BuiltFile clip = builtClip(audioRun, [&](RunSpec& run) {
      if (damaged) run.samples[0].data.assign(40, 0xFF);
    });
    ASSERT_NE(clip.file, nullptr);
    const Samples entire = readAll(*clip, lengthOf(*clip));
    ASSERT_FALSE(entire.empty());
    unsigned failed = 0;
    bool met = true;
    for (std::size_t before = 0; met; ++before) {
      const MediaFile file = openFile(clip.path);
      Samples space(4096 * 2);
      DFRAME d{};
      d.size = sizeof d;
      d.data = reinterpret_cast<std::uint8_t*>(space.data());
      d.dataCapacity = static_cast<std::uint32_t>(space.size() * 2);
      std::uint32_t status = VL_OK;
      {
        const FailingNewAt failing(before, Failures::AllFromThere);
        status = file->Read(0, 4096, 1, QVR_MODE_AUDIO, &d, nullptr);
        met = failing.met();
      }
      if (status == VL_OK) {
        ASSERT_EQ(space, Samples(entire.begin(), entire.begin() + 4096 * 2)) << before;
      }
      failed += status != VL_OK;
      ASSERT_EQ(readAll(*file, lengthOf(*file)), entire) << before;
    }
    EXPECT_GT(failed, 10u);
  }
}

// ---- Recording --------------------------------------------------------------------------------------

std::uint32_t writeCaptioned(CAMediaFile& file, std::uint32_t frame, std::size_t size) {
  return writeSample(file, 1, QVR_MODE_VIDEO, frameBytes(frame, size), frame);
}

LogLine plain(const char* text) {
  return {VL_LOG_PLAIN, text};
}

TEST(OutOfMemory, AVideoBufferThatCannotGrowFailsItsFrameAndAcceptsTheNext) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  LogCapture log;
  {
    const FailingNew failing(0x10000);
    EXPECT_EQ(writeCaptioned(*file, 0, 100), 0xFFFFFFFFu);
  }
  EXPECT_THAT(log.lines, ElementsAre(plain("fmp4 - Failed to allocate video buffer for writing")));
  EXPECT_EQ(writeCaptioned(*file, 0, 100), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(folder.file("out.m4v"))->GetTotalFrames(), 1u);
}

TEST(OutOfMemory, ACc608BufferThatCannotGrowFailsItsFrame) {
  const TempFolder folder;
  RecordingDescription d;
  d.captions = QVR_CAPTIONS_608;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  ASSERT_EQ(writeCaptioned(*file, 0, 100), VL_OK);
  LogCapture log;
  {
    const FailingNew failing(6);  // capacity for three pairs
    EXPECT_EQ(writeCaptioned(*file, 1, 100), 0xFFFFFFFFu);
  }
  EXPECT_THAT(log.lines, ElementsAre(plain("fmp4 - Failed to allocate cc608 buffer for writing")));
  EXPECT_EQ(writeCaptioned(*file, 1, 100), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
}

TEST(OutOfMemory, ACc708BufferThatCannotGrowFailsItsFrame) {
  const TempFolder folder;
  RecordingDescription d;
  d.captions = QVR_CAPTIONS_708;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  LogCapture log;
  {
    const FailingNew failing(0x10000);  // the frame's buffer is larger
    EXPECT_EQ(writeCaptioned(*file, 0, 100000), 0xFFFFFFFFu);
  }
  EXPECT_THAT(log.lines, ElementsAre(plain("fmp4 - Failed to allocate cc708 buffer for writing")));
  EXPECT_EQ(writeCaptioned(*file, 0, 100000), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
}

TEST(OutOfMemory, ARecordingWithoutItsMovieBoxRefusesFrames) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  {
    const FailingNew failing(8192 + QVR_CODEC_CONFIGURATION_BYTES);  // memory for the movie box
    EXPECT_EQ(writeCaptioned(*file, 0, 100), 0xFFFFFFFFu);
  }
  EXPECT_EQ(writeCaptioned(*file, 0, 100), 0xFFFFFFFFu)
      << "nothing may follow a file type box without a movie box";
  closeFile(file);
  EXPECT_EQ(BoxFile(folder.file("out.m4v")).topLevel(), "ftyp");
}

// Whichever allocation of the last fragment fails, the segment before it is finished and listed, and the host
// gets an error.
TEST(OutOfMemory, ALastFragmentWithoutMemoryLeavesThoseBeforeItListed) {
  RecordingDescription d;
  d.captions = QVR_CAPTIONS_608 | QVR_CAPTIONS_708;
  unsigned failed = 0;
  for (std::size_t bytes = 1; bytes <= 4096; bytes += bytes < 256 ? 1 : 8) {
    const TempFolder folder;
    MediaFile file = startRecording(folder.file("out.mp4"), d);
    for (std::uint32_t i = 0; i < 37; ++i) ASSERT_EQ(writeCaptioned(*file, i, 100), VL_OK);
    LogCapture log;
    std::uint32_t status = VL_OK;
    {
      const FailingNew failing(bytes);
      status = closeFile(file);
    }
    if (status != VL_OK) ++failed;
    const MediaFile read = openFile(folder.file("out.m4v"));
    ASSERT_NE(read, nullptr) << bytes;
    const std::uint32_t frames = read->GetTotalFrames();
    ASSERT_TRUE(frames == 37 || (frames == 30 && status != VL_OK)) << bytes << " bytes: " << frames;
    ASSERT_EQ(readFrame(*read, frames - 1).data, frameBytes(frames - 1)) << bytes;
  }
  EXPECT_GT(failed, 0u) << "no allocation was hit";
}

}  // namespace

}  // namespace fmp4
