// Recording again: with a used object, and under a used name.
#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>

#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

// All files of a folder, manifests and playlists without their dates.
std::map<std::string, Bytes> contentOf(const TempFolder& folder) {
  std::map<std::string, Bytes> files;
  for (const std::string& name : namesIn(folder)) {
    files[name] = readFile(folder.file(name));
    if (name.ends_with(".mpd") || name.ends_with(".m3u8")) {
      const std::string text = withoutTime({files[name].begin(), files[name].end()});
      files[name].assign(text.begin(), text.end());
    }
  }
  return files;
}

void record(const std::string& path, const RecordingDescription& d, std::uint32_t frames = 31) {
  MediaFile file = startRecording(path, d);
  writeFrames(*file, frames);
  if (d.audioMask != 0) writeAudio(*file, frames * 3 / 2);
  EXPECT_EQ(closeFile(file), VL_OK);
}

// ---- With a used object -----------------------------------------------------------------------------

std::uint32_t openAgain(CAMediaFile& file, const std::string& path) {
  MFXOPEN request = writeRequest(path);
  return file.MFXCmd(MFX_OPEN, &request);
}

// Always makes the same recording, with an object that is not open.
void recordWith(MediaFile& file, const TempFolder& folder) {
  ASSERT_EQ(openAgain(*file, folder.file("out.mp4")), VL_OK);
  ASSERT_EQ(describeVideo(*file, {}), VL_OK);
  ASSERT_EQ(describeAudio(*file, withAudio()), VL_OK);
  writeFrames(*file, 70);
  writeAudio(*file, 110);
  ASSERT_EQ(closeFile(file), VL_OK);
}

// An object that has recorded and read, with every option and description different from the usual.
MediaFile usedObject(const TempFolder& folder) {
  RecordingDescription d;
  d.rate = 25;
  d.scale = 1;
  d.width = 64;
  d.height = -48;
  d.captions = QVR_CAPTIONS_608 | QVR_CAPTIONS_708;
  d.audioMask = 0xF;
  d.sampleRate = 44100;
  MediaFile file = startRecording(folder.file("before.mp4"), d, 15);
  writeFrames(*file, 40);
  writeAudio(*file, 60);
  EXPECT_EQ(closeFile(file), VL_OK);
  MFXOPEN request = readRequest("");
  const std::string path = folder.file("before.mpd");
  request.fileName = path.c_str();
  EXPECT_EQ(file->MFXCmd(MFX_OPEN, &request), VL_OK);
  EXPECT_EQ(readFrame(*file, 20).data, frameBytes(20));
  EXPECT_EQ(closeFile(file), VL_OK);
  return file;
}

template <class Record>
bool sameBytes(const Record& left, const Record& right) {
  return std::memcmp(&left, &right, sizeof left) == 0;
}

TEST(RecordAgain, AClosedObjectDescribesItselfAsANewOne) {
  const TempFolder folder;
  const MediaFile used = usedObject(folder), fresh = createObject();
  for (const std::uint32_t mask : {1u, 2u, 4u}) {
    const Described is = describe(*used, mask), expected = describe(*fresh, mask);
    EXPECT_TRUE(sameBytes(is.system, expected.system));
    EXPECT_TRUE(sameBytes(*is.video, *expected.video));
    EXPECT_TRUE(sameBytes(is.info, expected.info));
  }
  EXPECT_EQ(used->Channels(), fresh->Channels());
  EXPECT_EQ(used->VidChan(), fresh->VidChan());
  EXPECT_EQ(used->GetTotalFrames(), 0u);
}

TEST(RecordAgain, AUsedObjectRecordsTheSameBytesAsANewOne) {
  const TempFolder before, with, without;
  MediaFile used = usedObject(before), fresh = createObject();
  recordWith(used, with);
  recordWith(fresh, without);
  EXPECT_EQ(contentOf(with), contentOf(without));
  EXPECT_THAT(namesIn(with), UnorderedElementsAre("out.m4v", "out.m4a", "out.mpd", "out.m3u8", "outA.m3u8"));
}

TEST(RecordAgain, ADescriptionWhileClosedLeavesNoHolderForTheNextOpen) {
  const TempFolder folder;
  MediaFile file = usedObject(folder);
  describeAudio(*file, withAudio());
  ASSERT_EQ(openAgain(*file, folder.file("out.mp4")), VL_OK);
  EXPECT_EQ(describeVideo(*file, {}), VL_OK);
  EXPECT_EQ(describeAudio(*file, withAudio()), VL_OK);
  const QVRWAVE wave = describe(*file, 3).audio.wave;
  EXPECT_EQ(wave.bitsPerSample, 24u);
  EXPECT_EQ(wave.blockAlign, 8u);
  EXPECT_EQ(wave.averageBytesPerSecond, 384000u);
}

// ---- Under a used name ------------------------------------------------------------------------------

TEST(RecordAgain, FilesOfThePreviousRecordingAreRemoved) {
  for (const char* name : {"out.mp4", "out.m4v"}) {
    const TempFolder folder;
    record(folder.file("out.mp4"), withAudio());
    writeFile(folder.file("out.master.m3u8"), text("#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nout.m3u8\n"));
    const MediaFile file = createFile(folder.file(name));
    EXPECT_THAT(namesIn(folder), UnorderedElementsAre("out.m4v"));
  }
}

TEST(RecordAgain, WithoutAudioTheOldAudioIsNotPlayed) {
  const TempFolder folder;
  record(folder.file("out.mp4"), withAudio());
  record(folder.file("out.mp4"), {}, 2);
  EXPECT_THAT(namesIn(folder), UnorderedElementsAre("out.m4v", "out.mpd", "out.m3u8"));
  const MediaFile read = openFile(folder.file("out.mpd"));
  EXPECT_EQ(read->GetTotalFrames(), 2u);
  EXPECT_EQ(read->Channels(), 0u);
}

// Interrupted before the first segment: no manifest or playlist names the audio yet.
TEST(RecordAgain, TheAudioOfAnInterruptedRecordingIsRemovedToo) {
  const TempFolder folder, interrupted;
  {
    MediaFile file = startRecording(interrupted.file("out.mp4"), withAudio());
    writeAudio(*file, 60);
    writeFrames(*file, 40);
    for (const std::string& name : namesIn(interrupted))
      std::filesystem::copy_file(interrupted.file(name), folder.file(name));
  }
  EXPECT_THAT(namesIn(folder), UnorderedElementsAre("out.m4v", "out.m4a", "out.m3u8", "outA.m3u8"));
  const MediaFile file = createFile(folder.file("out.mp4"));
  EXPECT_THAT(namesIn(folder), UnorderedElementsAre("out.m4v"));
}

TEST(RecordAgain, AnotherRecordingKeepsItsPlaylists) {
  const TempFolder folder;
  record(folder.file("fooA.mp4"), withAudio());
  record(folder.file("foo.mp4"), {});
  const auto before = contentOf(folder);
  record(folder.file("foo.mp4"), {});
  EXPECT_EQ(contentOf(folder), before) << "fooA.m3u8 is not the audio playlist of foo";
  {
    const MediaFile audio = createFile(folder.file("foo.m4a"), MF_OPEN_AUDIO_ONLY);
    EXPECT_THAT(textOf(folder.file("fooA.m3u8")), HasSubstr("fooA.m4v"));
  }
}

TEST(RecordAgain, AudioOfOtherRecordingsStays) {
  const TempFolder folder;
  record(folder.file("out.mp4"), {});
  writeFile(folder.file("out.m4a"), Bytes(1000, 7));
  writeFile(folder.file("outA.m3u8"), text("#EXTM3U\nsong.mp3\n"));
  record(folder.file("out.mp4"), {});
  EXPECT_EQ(readFile(folder.file("out.m4a")), Bytes(1000, 7));
  EXPECT_EQ(textOf(folder.file("outA.m3u8")), "#EXTM3U\nsong.mp3\n");
}

TEST(RecordAgain, AudioOpenInAnotherObjectStays) {
  const TempFolder folder;
  record(folder.file("out.mp4"), withAudio());
  MediaFile audio = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  MediaFile video = startRecording(folder.file("out.mp4"));
  ASSERT_TRUE(std::filesystem::exists(folder.file("out.m4a")));
  EXPECT_EQ(describeAudio(*audio, withAudio()), VL_OK);
  writeFrames(*video, 3);
  writeAudio(*audio, 3);
  EXPECT_EQ(closeFile(audio), VL_OK);
  EXPECT_EQ(closeFile(video), VL_OK);
  EXPECT_NE(openFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY), nullptr);
}

TEST(RecordAgain, AudioRecordedSinceByAnotherObjectStays) {
  const TempFolder folder;
  record(folder.file("out.mp4"), withAudio());
  for (const std::string& name : namesIn(folder)) {
    const std::filesystem::path file = folder.file(name);
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - std::chrono::hours(1));
  }
  MediaFile audio = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  EXPECT_EQ(describeAudio(*audio, withAudio()), VL_OK);
  writeAudio(*audio, 30);
  ASSERT_EQ(closeFile(audio), VL_OK);
  const Bytes recorded = readFile(folder.file("out.m4a"));
  const MediaFile video = createFile(folder.file("out.mp4"));
  EXPECT_THAT(namesIn(folder), UnorderedElementsAre("out.m4v", "out.m4a", "outA.m3u8"));
  EXPECT_EQ(readFile(folder.file("out.m4a")), recorded);
}

// Linux accepts such names, Windows refuses them.
TEST(RecordAgain, ANameThatIsNotUtf8IsHandledSafely) {
  const TempFolder folder;
  std::string path = folder.file("x");
  path.replace(path.size() - 1, 1, "\xFF.mp4");
  for (const std::uint32_t flags : {0u, std::uint32_t{MF_OPEN_AUDIO_ONLY}}) {
    EXPECT_NO_THROW(createFile(path, flags));
  }
  record(folder.file("out.mp4"), {});
  EXPECT_EQ(openFile(folder.file("out.mpd"))->GetTotalFrames(), 31u);
}

}  // namespace

}  // namespace fmp4
