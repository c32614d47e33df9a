// Recordings that fail: what is refused, and what stays intact.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "mp4box/boxes/trun.h"
#include "tests/plugin/recording.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(BadRecording, WritingBeforeTheDescriptionIsReported) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.mp4"));
  LogCapture log;
  EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_RESULT, "mov2: 0xE802300F\n"},
                                     LogLine{VL_LOG_RESULT, "fmp4: 0xE802300F\n"}));
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(readFile(folder.file("out.m4v")).size(), 28u);
}

TEST(BadRecording, MissingChannelsAreReported) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  MediaFile withTone = startRecording(folder.file("b.mp4"), withAudio());
  MediaFile audio = createFile(folder.file("c.m4a"), MF_OPEN_AUDIO_ONLY);
  describeAudio(*audio, withAudio());
  LogCapture log;
  EXPECT_EQ(writeSample(*file, 2, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*file, 0, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*withTone, 0x0C, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*audio, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  const LogLine noVideo{VL_LOG_RESULT, "mov2: 0xE802300F\n"}, noAudio{VL_LOG_RESULT, "fmp4: 0xE802300F\n"};
  EXPECT_THAT(log.lines, ElementsAre(noVideo, noVideo, noAudio, noAudio, noVideo));
}

TEST(BadRecording, AnObjectThatReadsTakesNoSamples) {
  const TempFolder folder;
  {
    const MediaFile file = startRecording(folder.file("out.mp4"));
    writeFrames(*file, 2);
  }
  const MediaFile read = openFile(folder.file("out.m4v"));
  LogCapture log;
  EXPECT_EQ(writeSample(*read, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*read, 3, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(log.lines.size(), 2u);
}

TEST(BadRecording, RequestsWithoutDescriptorOrDataFail) {
  const TempFolder folder;
  const MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.bytes = 10;
  for (const std::uint32_t mode : {QVR_MODE_VIDEO, QVR_MODE_AUDIO}) {
    EXPECT_EQ(file->Write(0, 1, 3, mode, nullptr, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(file->Write(0, 1, 3, mode, &descriptor, nullptr), 0xFFFFFFFFu);
  }
  EXPECT_EQ(file->Write(0, 1, 3, 2, &descriptor, nullptr), VL_OK) << "neither video nor audio";
}

TEST(BadRecording, EmptyFramesAreKept) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  for (std::uint32_t i = 0; i < 31; ++i)
    ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(i, i % 2 == 0 ? 0 : 50), i), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  const MediaFile read = openFile(folder.file("out.m4v"));
  ASSERT_EQ(read->GetTotalFrames(), 31u);
  EXPECT_EQ(readFrame(*read, 0).descriptor.bytes, 0u);
  EXPECT_EQ(readFrame(*read, 29).data, frameBytes(29, 50));
}

TEST(BadRecording, AFrameOfAHundredMegabytesIsRecorded) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  const Bytes large = frameBytes(1, 100u << 20);
  ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, large), VL_OK);
  writeFrames(*file, 2, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  const MediaFile read = openFile(folder.file("out.m4v"));
  EXPECT_EQ(readFrame(*read, 0).data, large);
  EXPECT_EQ(readFrame(*read, 2).data, frameBytes(2));
}

TEST(BadRecording, SamplesTooLargeForAFragmentAreRefusedUnread) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
  writeFrames(*file, 1);
  LogCapture log;
  std::uint8_t byte = 0;
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.data = &byte;
  for (const std::uint32_t bytes : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    descriptor.bytes = bytes;
    EXPECT_EQ(file->Write(1, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(file->Write(1, 1, 3, QVR_MODE_AUDIO, &descriptor, nullptr), 0xFFFFFFFFu);
  }
  EXPECT_EQ(log.lines.size(), 6u);
  EXPECT_THAT(log.lines,
              testing::Each(LogLine{VL_LOG_PLAIN, "fmp4 - Failed to allocate video buffer for writing"}));
  log.lines.clear();
  writeFrames(*file, 1, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(folder.file("out.m4v"))->GetTotalFrames(), 2u);
}

TEST(BadRecording, CompositionOffsetsBeyond32BitsOfTicksAreRefused) {
  const TempFolder folder;
  const MediaFile file = startRecording(folder.file("out.mp4"));
  LogCapture log;
  for (const std::int32_t offset : {2145339, -2145340, 0x7FFFFFFF, -0x7FFFFFFF - 1})
    EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0), 0, 0, offset), 0xFFFFFFFFu) << offset;
  EXPECT_THAT(log.lines, testing::Each(pluginError("The composition offset is too large")));
  EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0), 0, 0, 2145338), VL_OK);
}

TEST(BadRecording, RatesThatCannotBeTimedAreRefused) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  LogCapture log;
  for (const auto& [rate, scale] :
       {std::pair{0u, 1001u}, {30000u, 0u}, {0u, 0u}, {0xFFFFFFFFu, 1u}, {1u, 5000u}}) {
    RecordingDescription d;
    d.rate = rate;
    d.scale = scale;
    EXPECT_EQ(describeVideo(*file, d), 0xFFFFFFFFu) << rate << '/' << scale;
  }
  EXPECT_EQ(log.lines.size(), 5u);
  EXPECT_THAT(log.lines, testing::Each(pluginError("The frame rate cannot be recorded")));
  EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
}

TEST(BadRecording, SampleRatesBeyond16BitsAreRefused) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  LogCapture log;
  for (const std::uint32_t rate : {0u, 65536u, 96000u, 0xFFFFFFFFu}) {
    RecordingDescription d = withAudio();
    d.sampleRate = rate;
    EXPECT_EQ(describeAudio(*file, d), 0xFFFFFFFFu) << rate;
  }
  EXPECT_EQ(log.lines.size(), 4u);
  EXPECT_THAT(log.lines, testing::Each(pluginError("The audio sample rate cannot be recorded")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.m4a")));
  RecordingDescription d = withAudio();
  d.sampleRate = 65535;
  EXPECT_EQ(describeAudio(*file, d), VL_OK);
}

TEST(BadRecording, CodecDataShorterThanItStatesIsRefused) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  LogCapture log;
  const Bytes damaged[] = {
      boxOfSize(7, "avcC"),           // smaller than its own header
      boxOfSize(0xFFFFFFFF, "avcC"),  // larger than the buffer
      boxOfSize(128 * 1024 + 1, "avcC"),
      box("avcC"),  // no record
      box("avcC", {u8(1), u8(0x64), u8(0), u8(30), u8(0xFF)}),
      box("avcC", {u8(1), u8(0x64), u8(0), u8(30), u8(0xFF), u8(0xE1), u16(5), zeros(4)}),
      box("avcC", {u8(1), u8(0x64), u8(0), u8(30), u8(0xFF), u8(0xE1), u16(4), zeros(4)}),
      box("avcC", {u8(1), u8(0x64), u8(0), u8(30), u8(0xFF), u8(0xE0), u8(2), u16(0)}),
  };
  for (const Bytes& configuration : damaged) {
    RecordingDescription d;
    d.configuration = configuration;
    EXPECT_EQ(describeVideo(*file, d), 0xFFFFFFFFu);
  }
  RecordingDescription d = withAudio();
  d.audioConfiguration = {0xFF, 0xF1};
  EXPECT_EQ(describeAudio(*file, d), 0xFFFFFFFFu);
  QVRAUDIO audio = describe(*file).audio;
  audio.wave.extraSize = 257;
  EXPECT_EQ(file->SetFileInfo(3, nullptr, nullptr, &audio, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(log.lines.size(), 10u);
  EXPECT_THAT(log.lines, testing::Each(pluginError("The codec configuration is shorter than it says")));
}

TEST(BadRecording, ABitmapHeaderWithASizeBoundsTheConfiguration) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  const Described d = describe(*file);
  const Bytes configuration = avcBox();
  std::copy(configuration.begin(), configuration.end(), d.video->colourTable);
  d.video->bitmap.size = static_cast<std::uint32_t>(40 + configuration.size() - 1);
  LogCapture log;
  EXPECT_EQ(file->SetFileInfo(1, nullptr, d.video.get(), nullptr, nullptr), 0xFFFFFFFFu);
  EXPECT_THAT(log.lines, Contains(pluginError("The codec configuration is shorter than it says")));
  ++d.video->bitmap.size;
  EXPECT_EQ(file->SetFileInfo(1, nullptr, d.video.get(), nullptr, nullptr), VL_OK);
}

TEST(BadRecording, WithoutAConfigurationAPlaceholderIsWritten) {
  const TempFolder folder;
  RecordingDescription d;
  d.configuration = {};
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  writeFrames(*file, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.at("moov/trak/mdia/minf/stbl/stsd/avc1/avcC")->size, 14u);
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("codecs=\"avc1.010001\""));
}

TEST(BadRecording, AManifestThatCannotBeSavedLeavesTheRestIntact) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.file("out.mpd"));
  std::filesystem::create_directory(folder.file("out.m3u8"));
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 301);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(folder.file("out.m4v"))->GetTotalFrames(), 301u);
}

TEST(BadRecording, APlaylistWhoseNameIsTooLongLeavesTheMediaIntact) {
  const TempFolder folder;
  // 259 characters: the media's name fits, the playlist's is one longer.
  const std::string start = folder.file("");
  const std::string path = start + std::string(259 - start.size() - 4, 'x') + ".m4v";
  ASSERT_EQ(path.size(), 259u);
  MediaFile file = startRecording(path);
  ASSERT_NE(file, nullptr);
  writeFrames(*file, 3);
  EXPECT_EQ(closeFile(file), VL_OK);
  const MediaFile read = openFile(path);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->GetTotalFrames(), 3u);
}

TEST(BadRecording, ManifestAndPlaylistsOfAReplacedRecordingAreRemoved) {
  const TempFolder folder;
  {
    MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
    writeFrames(*file, 31);
    writeAudio(*file, 49);
    EXPECT_EQ(closeFile(file), VL_OK);
  }
  const MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
  for (const char* name : {"out.mpd", "out.m3u8", "outA.m3u8"})
    EXPECT_FALSE(std::filesystem::exists(folder.file(name))) << name << " names bytes that are gone";
}

TEST(BadRecording, AudioDoesNotOverwriteTheVideo) {
  const TempFolder folder;
  const std::string path = folder.file("out.m4v.m4a");
  MediaFile file = startRecording(path, withAudio());
  ASSERT_NE(file, nullptr);
  writeFrames(*file, 3);
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(1, 20)), 0xFFFFFFFFu);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(path)->GetTotalFrames(), 3u);
}

TEST(BadRecording, ARefusedDescriptionIsNotRecorded) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  RecordingDescription refused;
  refused.rate = 0;
  EXPECT_EQ(describeVideo(*file, refused), 0xFFFFFFFFu);
  EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_EQ(describeVideo(*file, {}), VL_OK);
  writeFrames(*file, 2);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(openFile(folder.file("out.m4v"))->GetTotalFrames(), 2u);
}

TEST(BadRecording, ARefusedSecondAudioDescriptionKeepsTheFirst) {
  const TempFolder folder;
  for (const char* name : {"out.mp4", "out.ismv"}) {
    MediaFile file = startRecording(folder.file(name), withAudio());
    RecordingDescription refused = withAudio();
    refused.sampleRate = 96000;
    LogCapture log;
    EXPECT_EQ(describeAudio(*file, refused), 0xFFFFFFFFu);
    EXPECT_THAT(log.lines, ElementsAre(pluginError("The audio sample rate cannot be recorded")));
    log.lines.clear();
    EXPECT_EQ(describe(*file, 0x30).audio.wave.samplesPerSecond, 48000u);
    writeFrames(*file, 31);
    writeAudio(*file, 49);
    EXPECT_EQ(closeFile(file), VL_OK);
    EXPECT_THAT(log.lines, testing::IsEmpty());
    const MediaFile read = openFile(folder.file(name == std::string("out.mp4") ? "out.mpd" : name));
    EXPECT_EQ(describe(*read).audio.wave.samplesPerSecond, 48000u) << name;
    EXPECT_EQ(describe(*read).audio.stream.length, 49u * 1024) << name;
  }
}

TEST(BadRecording, AnUnusableFrameSizeIsReportedAtTheWriteToo) {
  const TempFolder folder;
  const MediaFile file = startRecording(folder.file("out.mp4"));
  file->SetCodecOption(1, 0, 3, 0, nullptr);  // no width
  LogCapture log;
  EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu);
  EXPECT_THAT(log.lines, ElementsAre(pluginError("The picture size cannot be recorded")));
}

TEST(BadRecording, AudioDescribedAfterTheFirstFrameIsRefusedAndCreatesNoFile) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 1);
  describeAudio(*file, withAudio());
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(1, 20)), 0xFFFFFFFFu);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.m4a")));
}

TEST(BadRecording, RatesOfOneFramePerSecondAndLessAreRefused) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  for (const auto& [rate, scale] : {std::pair(1u, 1u), std::pair(1u, 2u), std::pair(1001u, 1000u)}) {
    RecordingDescription d;
    d.rate = rate;
    d.scale = scale;
    EXPECT_EQ(describeVideo(*file, d), rate == 1001 ? VL_OK : VL_FAILED) << rate;
  }
}

TEST(BadRecording, FrameSizesBeyond16BitsAreRefused) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  LogCapture log;
  for (const auto& [width, height] : {std::pair(70000, 100), std::pair(-320, 180), std::pair(0, 180),
                                      std::pair(320, 65536), std::pair(320, 0)}) {
    RecordingDescription d;
    d.width = width;
    d.height = height;
    log.lines.clear();
    EXPECT_EQ(describeVideo(*file, d), 0xFFFFFFFFu) << width << "x" << height;
    EXPECT_THAT(log.lines, testing::Contains(LogLine{
                               VL_LOG_ERROR, "ERROR(vlx_fmp4): The picture size cannot be recorded\n"}));
  }
}

TEST(BadRecording, FrameSizesOf16BitsAreTaken) {
  const TempFolder folder;
  const MediaFile file = createFile(folder.file("out.mp4"));
  RecordingDescription d;
  d.width = 65535;
  d.height = -65535;
  EXPECT_EQ(describeVideo(*file, d), VL_OK);
}

// Described through the system's call, which checks nothing.
TEST(BadRecording, AudioAloneThatCannotBeRecordedIsRefusedAtTheFirstFrame) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  EXPECT_EQ(describeAudio(*file, withAudio()), VL_OK);
  QVRAUDIO audio = describe(*file).audio;
  audio.wave.samplesPerSecond = 96000;
  file->SetSysInfo(nullptr, nullptr, &audio);
  LogCapture log;
  EXPECT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, frameBytes(0)), 0xFFFFFFFFu);
  closeFile(file);
  EXPECT_EQ(readFile(folder.file("out.m4a")).size(), 28u) << "the file type alone";
}

// A folder has the name that the media had.
TEST(BadRecording, ListsStayWhereTheMediaCannotBeReplaced) {
  const TempFolder folder;
  {
    const MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
    writeFrames(*file, 2);
    const MediaFile audio = createFile(folder.file("alone.m4a"), MF_OPEN_AUDIO_ONLY);
    describeAudio(*audio, withAudio());
    writeSample(*audio, 3, QVR_MODE_AUDIO, frameBytes(0));
  }
  for (const char* name : {"out.m4v", "alone.m4a"}) {
    std::filesystem::remove(folder.file(name));
    std::filesystem::create_directory(folder.file(name));
  }
  LogCapture log;
  EXPECT_EQ(createFile(folder.file("out.mp4")), nullptr);
  EXPECT_EQ(createFile(folder.file("alone.m4a"), MF_OPEN_AUDIO_ONLY), nullptr);
  for (const char* name : {"out.mpd", "out.m3u8", "aloneA.m3u8"})
    EXPECT_TRUE(std::filesystem::exists(folder.file(name))) << name;
}

// Described through the system's call, which checks nothing.
TEST(BadRecording, AudioThatCannotBeRecordedIsRefusedAtTheFirstFrameToo) {
  for (const std::uint32_t rate : {0u, 96000u}) {
    const TempFolder folder;
    MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
    const Described described = describe(*file);
    QVRAUDIO audio = described.audio;
    audio.wave.samplesPerSecond = rate;
    file->SetSysInfo(nullptr, nullptr, &audio);
    LogCapture log;
    EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu) << rate;
    closeFile(file);
    EXPECT_EQ(readFile(folder.file("out.ismv")).size(), 28u) << "the file type alone";
  }
}

}  // namespace

}  // namespace fmp4
