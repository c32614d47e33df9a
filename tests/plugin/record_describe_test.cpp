// Opening for writing, and the host's description of the streams to write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/plugin/recording.h"
#include "tests/support/log_capture.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

const Bytes kFileType = box("ftyp", {text("iso5"), u32(8191), text("iso5"), text("dash"), text("msix")});

TEST(OpenWrite, AnMp4NameBecomesAnM4vFileThatStartsWithItsType) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Status(), 2u);
  EXPECT_THAT(namesIn(folder), ElementsAre("out.m4v"));
  EXPECT_EQ(readFile(folder.file("out.m4v")), kFileType);
  EXPECT_EQ(kFileType.size(), 28u);
}

TEST(OpenWrite, OtherNamesAreUsedUnchanged) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.ismv"));
  EXPECT_THAT(namesIn(folder), ElementsAre("out.ismv"));
}

TEST(OpenWrite, ReplacesAnExistingFile) {
  const TempFolder folder;
  writeFile(folder.file("out.m4v"), Bytes(1000, 7));
  const MediaFile file = createFile(folder.file("out.mp4"));
  EXPECT_EQ(readFile(folder.file("out.m4v")), kFileType);
}

TEST(OpenWrite, SmoothNamesGetAnXmlManifest) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"));
  writeFrames(*file, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_THAT(namesIn(folder), ElementsAre("out.ismv", "out.m3u8", "out.xml"));
}

TEST(OpenWrite, AudioOnlyIsExactlyThatFileWithoutAManifest) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  ASSERT_NE(file, nullptr);
  EXPECT_THAT(namesIn(folder), ElementsAre("out.m4a"));
  RecordingDescription d;
  d.audioMask = 3;
  EXPECT_EQ(describeAudio(*file, d), VL_OK);
  writeAudio(*file, 5);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_THAT(namesIn(folder), ElementsAre("out.m4a", "outA.m3u8"));
}

TEST(OpenWrite, AFileThatCannotBeCreatedIsReported) {
  const TempFolder folder;
  const MediaFile file = createObject();
  LogCapture log;
  const auto open = [&](const std::string& path, std::uint32_t flags) {
    return file->Open(path.c_str(), VL_GENERIC_READ | VL_GENERIC_WRITE, 3, nullptr, VL_CREATE_ALWAYS, 0,
                      flags);
  };
  EXPECT_EQ(open(folder.file("missing/out.mp4"), 0), 0xE802500Cu);
  EXPECT_EQ(open(folder.file("missing/out.m4a"), MF_OPEN_AUDIO_ONLY), 0xE802500Cu);
  EXPECT_THAT(
      log.lines,
      ElementsAre(
          LogLine{0x80000000u, "WARNING(vlx_fmp4): Unable to open video mp4 file for write (vlx_fmp4)\n"},
          LogLine{VL_LOG_PLAIN, "fmp4OpenWrite(0xE802500C)"},
          LogLine{0x80000000u, "WARNING(vlx_fmp4): Unable to open audio mp4 file for write (vlx_fmp4)\n"},
          LogLine{VL_LOG_PLAIN, "fmp4OpenWrite(0xE802500C)"}));
  EXPECT_EQ(file->Status(), 0u);
  EXPECT_EQ(open(folder.file("out.mp4"), 0), VL_OK) << "the object can be opened again";
}

TEST(OpenWrite, AReadOnlyFolderIsReported) {
  // No user can create files here, not even the superuser.
  const MediaFile file = createObject();
  LogCapture log;
  EXPECT_EQ(file->Open("/proc/self/out.mp4", VL_GENERIC_READ | VL_GENERIC_WRITE, 3, nullptr, VL_CREATE_ALWAYS,
                       0, 0),
            0xE802500Cu);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{0x80000000u,
                                  "WARNING(vlx_fmp4): Unable to open video mp4 file for write (vlx_fmp4)\n"},
                          LogLine{VL_LOG_PLAIN, "fmp4OpenWrite(0xE802500C)"}));
}

TEST(OpenWrite, MediaNamedAsTheirOwnManifestOrPlaylistAreRefused) {
  const TempFolder folder;
  LogCapture log;
  EXPECT_EQ(createFile(folder.file("out.mpd")), nullptr);
  EXPECT_EQ(createFile(folder.file("out.m3u8")), nullptr);
  EXPECT_THAT(namesIn(folder), ElementsAre());
}

TEST(SetFileInfo, NormalisesTheRateAndSizesTheBuffers) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  RecordingDescription d;
  d.rate = 2997;
  d.scale = 100;
  d.width = 1920;
  d.height = -1080;
  EXPECT_EQ(describeVideo(*file, d), VL_OK);
  const Described now = describe(*file);
  EXPECT_EQ(now.video->stream.rate, 30000u);
  EXPECT_EQ(now.video->stream.scale, 1001u);
  EXPECT_EQ(now.video->rowSize, 1920u * 4);
  EXPECT_EQ(now.video->bitmap.sizeImage, 3u * 1080 * 1920);
  EXPECT_EQ(now.video->bufferSize, 6221824u) << "rounded up to the next 4096 bytes";
  EXPECT_EQ(now.video->stream.length, 0u);
  EXPECT_EQ(file->VidChan(), 1u);
}

TEST(SetFileInfo, ABufferOfWholePagesStaysAsLarge) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  RecordingDescription d;
  d.width = d.height = 1024;
  EXPECT_EQ(describeVideo(*file, d), VL_OK);
  EXPECT_EQ(describe(*file).video->bufferSize, 3u * 1024 * 1024);
}

TEST(SetFileInfo, TakesTheLengthAsTotalOnce) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  const Described defaults = describe(*file);
  QVRVIDEO& video = *defaults.video;
  video.stream.length = 500;
  EXPECT_EQ(file->SetFileInfo(1, nullptr, &video, nullptr, nullptr), VL_OK);
  EXPECT_EQ(describe(*file).system.totalFrames, 500u);
  EXPECT_EQ(describe(*file).video->stream.length, 0u);
  video.stream.length = 700;
  EXPECT_EQ(file->SetFileInfo(1, nullptr, &video, nullptr, nullptr), VL_OK);
  EXPECT_EQ(describe(*file).system.totalFrames, 500u);
}

TEST(SetFileInfo, ReturnsTheResultsForWhatItWasGiven) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  const Described defaults = describe(*file);
  EXPECT_EQ(file->SetFileInfo(1, nullptr, nullptr, nullptr, &defaults.info), 0xFFFFFFFFu);
  QVRSYSTEM system = defaults.system;
  system.totalFrames = 77;
  EXPECT_EQ(file->SetFileInfo(1, &system, nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(describe(*file).video->stream.length, 77u);
  system.totalFrames = 5;
  EXPECT_EQ(file->SetFileInfo(1, &system, nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(describe(*file).video->stream.length, 77u) << "never lowered";
}

TEST(SetFileInfo, AnUnsetStartTimecodeFallsBackToTheNextSetOne) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  const auto started = [&](std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    QVRINFO info = describe(*file).info;
    info.startTimecode = first;
    info.startTimecodeLtc = second;
    info.startTimecodeVitc = third;
    file->SetFileInfo(1, nullptr, nullptr, nullptr, &info);
    QVRINFO kept = {};
    EXPECT_EQ(qvrInfoGet(file.get(), &kept), VL_OK);
    return kept.startTimecode;
  };
  EXPECT_EQ(started(1, 2, 3), 1u);
  EXPECT_EQ(started(QVR_NOT_SET, 2, 3), 2u);
  EXPECT_EQ(started(QVR_NOT_SET, QVR_NOT_SET, 3), 3u);
  EXPECT_EQ(started(QVR_NOT_SET, QVR_NOT_SET, QVR_NOT_SET), QVR_NOT_SET);
}

TEST(SetFileInfo, SixChannelsMakeThreeHoldersOfTheForcedFormat) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  QVRAUDIO audio = describe(*file).audio;
  audio.wave.channels = 6;
  audio.wave.bitsPerSample = 16;
  audio.wave.samplesPerSecond = 44100;
  audio.wave.averageBytesPerSecond = 12345;
  audio.wave.extraSize = 2;
  audio.wave.extra[0] = 0x12;
  audio.wave.extra[1] = 0x30;
  EXPECT_EQ(file->SetFileInfo(0x3F, nullptr, nullptr, &audio, nullptr), VL_OK);
  EXPECT_EQ(file->Channels(), 0x3Fu);
  EXPECT_EQ(file->AudChan(), 6u);
  for (const std::uint32_t mask : {0x03u, 0x0Cu, 0x30u}) {
    const QVRWAVE wave = describe(*file, mask).audio.wave;
    EXPECT_EQ(wave.channels, 2u);
    EXPECT_EQ(wave.bitsPerSample, 24u);
    EXPECT_EQ(wave.samplesPerSecond, 48000u);
    EXPECT_EQ(wave.blockAlign, 8u);
    EXPECT_EQ(wave.averageBytesPerSecond, 384000u);
    EXPECT_EQ(wave.extraSize, 2u);
    EXPECT_EQ(wave.extra[1], 0x30);
  }
}

TEST(SetFileInfo, ChannelsAfterTheEighthAreNotTaken) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.ismv"));
  RecordingDescription d = withAudio();
  d.audioMask = 0xFFFF;
  EXPECT_EQ(describeAudio(*file, d), VL_OK);
  EXPECT_EQ(file->Channels(), 0xFFu);
}

TEST(SetFileInfo, OnlyAnM4vFileGetsACompanion) {
  for (const auto& [name, companion] : {std::pair{"out.mp4", true}, {"b.m4v", true}, {"c.ismv", false}}) {
    const TempFolder folder;
    RecordingDescription d;
    d.audioMask = 3;
    const MediaFile file = startRecording(folder.file(name), d);
    EXPECT_EQ(namesIn(folder).size(), companion ? 2u : 1u) << name;
  }
  const TempFolder folder;
  RecordingDescription d;
  d.audioMask = 3;
  const MediaFile file = startRecording(folder.file("out.mp4"), d);
  EXPECT_EQ(readFile(folder.file("out.m4a")), kFileType);
}

TEST(SetFileInfo, ACompanionThatCannotBeCreatedLeavesTheVideoIntact) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.file("out.m4a"));
  RecordingDescription d;
  d.audioMask = 3;
  LogCapture log;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  writeFrames(*file, 3);
  log.lines.clear();
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_RESULT, "fmp4: 0xE802300F\n"}));
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(folder.file("out.m4v"))->GetTotalFrames(), 3u);
}

}  // namespace

}  // namespace fmp4
