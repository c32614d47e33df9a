// SetFileInfo on an object that reads: the host's description replaces the file's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qvrutil.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// Four frames at 25 per second, beside the given tracks.
struct Source {
  TempFolder folder;
  MediaFile file;

  explicit Source(const std::vector<TrackSpec>& moreTracks = {}) {
    std::vector<TrackSpec> tracks = {videoTrack(1, 25, 1)};
    tracks.insert(tracks.end(), moreTracks.begin(), moreTracks.end());
    TrafSpec traf;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize,
                         {sampleOf(10, 0), sampleOf(10, 1), sampleOf(10, 2), sampleOf(10, 3)}}};
    writeFile(folder.file("clip.mp4"), join({fileTypeBox(), movieBox(tracks), fragment(1, {traf})}));
    file = openFile(folder.file("clip.mp4"));
  }
};

TrackSpec audioTrack(std::uint32_t id, std::uint16_t channels) {
  return {id, "soun", 48000, audioEntry("mp4a", channels, 16, 48000), 1024};
}

TEST(SetFileInfoOfASource, AnUnsetStartTimecodeFallsBackToTheNextSetOne) {
  const Source source;
  ASSERT_NE(source.file, nullptr);
  QVRINFO info = describe(*source.file).info;
  info.startTimecode = info.startTimecodeLtc = QVR_NOT_SET;
  info.startTimecodeVitc = 1000;
  EXPECT_EQ(source.file->SetFileInfo(1, nullptr, nullptr, nullptr, &info), 0xFFFFFFFFu)
      << "the result without a system description";
  EXPECT_EQ(describe(*source.file).info.startTimecode, 1000u);
  QVRINFO kept = {};
  ASSERT_EQ(qvrInfoGet(source.file.get(), &kept), VL_OK);
  EXPECT_EQ(kept.startTimecode, 1000u);
  EXPECT_EQ(kept.startTimecodeVitc, 1000u);
  EXPECT_EQ(readFrame(*source.file, 3).descriptor.timecode, 1003u);

  info.startTimecodeLtc = 70;
  source.file->SetFileInfo(1, nullptr, nullptr, nullptr, &info);
  EXPECT_EQ(readFrame(*source.file, 3).descriptor.timecode, 73u) << "the longitudinal one takes precedence";
}

TEST(SetFileInfoOfASource, TheLongitudinalTimecodeIsTheOtherOneWithoutAStartOnly) {
  const Source source;
  QVRINFO info = describe(*source.file).info;
  info.startTimecode = 1000;
  info.startTimecodeLtc = 70;
  source.file->SetFileInfo(1, nullptr, nullptr, nullptr, &info);
  EXPECT_EQ(readFrame(*source.file, 3).descriptor.timecode, 1003u);
  EXPECT_EQ(readFrame(*source.file, 3).descriptor.timecodeOther, 1003u);
}

TEST(SetFileInfoOfASource, TheSystemsFrameCountRaisesTheLength) {
  const Source source;
  ASSERT_NE(source.file, nullptr);
  QVRSYSTEM system = describe(*source.file).system;
  system.totalFrames = 3;
  EXPECT_EQ(source.file->SetFileInfo(1, &system, nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(source.file->GetTotalFrames(), 4u);
  system.totalFrames = 9999;
  EXPECT_EQ(source.file->SetFileInfo(1, &system, nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(source.file->GetTotalFrames(), 9999u);
  EXPECT_EQ(readFrame(*source.file, 3).data, sampleOf(10, 3).data);
  EXPECT_EQ(readFrame(*source.file, 4).status, 0xE8024029u) << "the file has no more than before";
}

TEST(SetFileInfoOfASource, TheRateIsNormalisedAndTheBuffersAreSized) {
  const Source source;
  ASSERT_NE(source.file, nullptr);
  const Described d = describe(*source.file);
  d.video->stream.rate = 2997;
  d.video->stream.scale = 100;
  d.video->bitmap.width = 640;
  d.video->bitmap.height = -360;
  EXPECT_EQ(source.file->SetFileInfo(1, nullptr, d.video.get(), nullptr, nullptr), VL_OK);
  const Described now = describe(*source.file);
  EXPECT_EQ(now.video->stream.rate, 30000u);
  EXPECT_EQ(now.video->stream.scale, 1001u);
  EXPECT_EQ(now.video->rowSize, 640u * 4);
  EXPECT_EQ(now.video->bitmap.sizeImage, 640u * 360 * 3);
  EXPECT_EQ(now.video->bufferSize, 692224u) << "rounded up to the next 4096 bytes";
  EXPECT_EQ(now.video->stream.length, 0u);
  EXPECT_EQ(source.file->VidChan(), 1u);
  EXPECT_EQ(readFrame(*source.file, 3).data, sampleOf(10, 3).data) << "the frames read stay the same";
}

TEST(SetFileInfoOfASource, ADescriptionThatCannotBeRecordedIsAccepted) {
  const Source source;
  ASSERT_NE(source.file, nullptr);
  const Described d = describe(*source.file);
  d.video->stream.rate = 1;
  d.video->stream.scale = 2;
  d.video->bitmap.width = 0;
  QVRAUDIO audio = d.audio;
  audio.wave.samplesPerSecond = 192000;
  LogCapture log;
  EXPECT_EQ(source.file->SetFileInfo(3, nullptr, d.video.get(), &audio, nullptr), VL_OK);
  EXPECT_TRUE(log.lines.empty());
}

TEST(SetFileInfoOfASource, MissingChannelsGetHoldersOfTheForcedFormat) {
  const Source source({audioTrack(2, 2)});
  ASSERT_NE(source.file, nullptr);
  QVRAUDIO audio = describe(*source.file).audio;
  ASSERT_EQ(audio.channelMask, 0x3u);
  EXPECT_EQ(source.file->SetFileInfo(0xF, nullptr, nullptr, &audio, nullptr), VL_OK);
  EXPECT_EQ(source.file->Channels(), 0xFu);
  EXPECT_EQ(source.file->AudChan(), 4u);
  EXPECT_EQ(describe(*source.file, 0x1).audio.wave.bitsPerSample, 16u) << "the track's own";
  const QVRAUDIO added = describe(*source.file, 0x4).audio;
  EXPECT_EQ(added.channelMask, 0xCu);
  EXPECT_EQ(added.wave.channels, 2u);
  EXPECT_EQ(added.wave.bitsPerSample, 24u);
  EXPECT_EQ(added.wave.samplesPerSecond, 48000u);
  EXPECT_EQ(added.wave.blockAlign, 8u);
}

TEST(SetFileInfoOfASource, ASecondChannelOfAPairWithATrackGetsNoHolder) {
  const Source source({audioTrack(2, 1)});
  ASSERT_NE(source.file, nullptr);
  QVRAUDIO audio = describe(*source.file).audio;
  EXPECT_EQ(source.file->SetFileInfo(0x3, nullptr, nullptr, &audio, nullptr), VL_OK);
  EXPECT_EQ(source.file->Channels(), 0x3u);
  EXPECT_EQ(describe(*source.file, 0x1).audio.channelMask, 0x1u);
  EXPECT_EQ(describe(*source.file, 0x2).audio.channelMask, 0x1u);
  EXPECT_EQ(describe(*source.file, 0x1).audio.wave.bitsPerSample, 16u);
}

TEST(SetFileInfoOfASource, ADescribedObjectCanStillOpenAFile) {
  const Source source;
  const MediaFile file = createObject();
  const Described d = describe(*file);
  EXPECT_EQ(file->SetFileInfo(0x3, nullptr, d.video.get(), &d.audio, nullptr), VL_OK);
  EXPECT_EQ(file->Channels(), 0x3u);
  ASSERT_EQ(file->Open(source.folder.file("clip.mp4").c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr,
                       VL_OPEN_EXISTING, 0, 0),
            VL_OK);
  EXPECT_EQ(file->Channels(), 0u);
  EXPECT_EQ(file->GetTotalFrames(), 4u);
  EXPECT_EQ(describe(*file).system.streams, 1u);
}

TEST(SetFileInfoOfASource, FlagsDescribedBeforeTheOpenAreThoseOfTheFileAfterIt) {
  const Source source;
  const auto described = [](std::uint32_t flags) {
    MediaFile file = createObject();
    const Described d = describe(*file);
    d.video->flags = flags;
    d.video->bitmap.compression = 0x31637661;
    EXPECT_EQ(file->SetFileInfo(0x1, nullptr, d.video.get(), nullptr, nullptr), VL_OK);
    return file;
  };
  const auto open = [](CAMediaFile& file, const std::string& path) {
    return file.Open(path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0, 0);
  };
  const MediaFile video = described(0xFFFFFFFF);
  ASSERT_EQ(open(*video, source.folder.file("clip.mp4")), VL_OK);
  EXPECT_EQ(describe(*video).video->flags & 0x0F000000u, 0x02000000u);

  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 3)}}};
  traf.trackId = 2;
  const std::string path = source.folder.file("sound.m4a");
  writeFile(path, join({fileTypeBox(), movieBox({audioTrack(2, 2)}), fragment(1, {traf})}));
  const MediaFile audio = described(0);
  ASSERT_EQ(open(*audio, path), VL_OK);
  EXPECT_EQ(describe(*audio).video->flags, 0u) << "no video to be flagged";
}

}  // namespace

}  // namespace fmp4
