// Opening presentations through their manifests, and video with audio in a separate file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;

Bytes videoFile(std::uint32_t frames, std::uint32_t duration = 1) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset | kRunSize};
  for (std::uint32_t i = 0; i < frames; ++i) run.samples.push_back(sampleOf(10, i));
  traf.runs = {run};
  return join({fileTypeBox(), movieBox({videoTrack(1, 25, duration)}), fragment(1, {traf})});
}

Bytes audioFile(std::uint32_t units, std::uint32_t rate = 48000) {
  TrackSpec audio{2, "soun", rate, audioEntry("mp4a", 2, 16, rate), 1024};
  TrafSpec traf;
  traf.trackId = 2;
  RunSpec run{kRunDataOffset | kRunSize};
  for (std::uint32_t i = 0; i < units; ++i) run.samples.push_back(sampleOf(5, i));
  traf.runs = {run};
  return join({fileTypeBox(), movieBox({audio}), fragment(1, {traf})});
}

struct Folder : TempFolder {
  void text(const char* name, const std::string& content) const { std::ofstream(file(name)) << content; }
  void manifest(const char* name, const std::string& sets) const {
    text(name, "<MPD><Period>" + sets + "</Period></MPD>");
  }
  MediaFile open(const char* name, std::uint32_t flags = 0) const { return openFile(file(name), flags); }
};

std::string representation(const char* type, const char* baseUrl, const char* attributes = "",
                           const char* content = "") {
  return "<AdaptationSet><Representation mimeType='" + std::string(type) + "' " + attributes + "><BaseURL>" +
         baseUrl + "</BaseURL>" + content + "</Representation></AdaptationSet>";
}

std::uint32_t audioLength(CAMediaFile& file) {
  return describe(file).audio.stream.length;
}

TEST(Manifest, VideoAndAudioBesideItAreFoundByName) {
  const Folder folder;
  writeFile(folder.file("clip.m4v"), videoFile(4));
  writeFile(folder.file("clip.m4a"), audioFile(3));
  folder.manifest("clip.mpd", "");
  const MediaFile file = folder.open("clip.mpd");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetTotalFrames(), 4u);
  EXPECT_EQ(audioLength(*file), 3u * 1024);
  EXPECT_EQ(file->Channels(), 3u);
  EXPECT_EQ(readFrame(*file, 2).data, sampleOf(10, 2).data);
}

TEST(Manifest, TheBaseUrlReplacesTheNameFoundInTheFolder) {
  const Folder folder;
  writeFile(folder.file("clip.mp4"), videoFile(4));
  writeFile(folder.file("other.dat"), videoFile(7));
  writeFile(folder.file("tone.dat"), audioFile(2));
  folder.manifest("clip.mpd",
                  representation("video/mp4", "other.dat") + representation("audio/mp4", "tone.dat"));
  const MediaFile byManifest = folder.open("clip.mpd");
  ASSERT_NE(byManifest, nullptr);
  EXPECT_EQ(byManifest->GetTotalFrames(), 7u);
  EXPECT_EQ(audioLength(*byManifest), 2048u);
  const MediaFile byMedia = folder.open("clip.mp4");
  ASSERT_NE(byMedia, nullptr) << "a media file's manifest is read too";
  EXPECT_EQ(byMedia->GetTotalFrames(), 7u);
  EXPECT_EQ(audioLength(*byMedia), 2048u);
}

TEST(Manifest, SmoothNamesOpenThroughTheManifestOfTheirBaseName) {
  const Folder folder;
  writeFile(folder.file("media.dat"), videoFile(4));
  writeFile(folder.file("tone.dat"), audioFile(3));
  const std::string sets = representation("video/mp4", "media.dat") + representation("audio/mp4", "tone.dat");
  for (const char* manifest : {"clip.xml", "clip.mpd"}) {
    folder.manifest(manifest, sets);
    for (const char* name : {"clip.ismv", "clip.ism", "clip.ismc"}) {
      const MediaFile file = folder.open(name);
      ASSERT_NE(file, nullptr) << name << " by " << manifest;
      EXPECT_EQ(file->GetTotalFrames(), 4u);
    }
    const MediaFile audio = folder.open("clip.isma", MF_OPEN_AUDIO_ONLY);
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->GetTotalFrames(), 0u);
    EXPECT_EQ(audioLength(*audio), 3u * 1024);
    std::filesystem::remove(folder.file(manifest));
  }
}

TEST(Manifest, ABrokenManifestIsIgnored) {
  const Folder folder;
  writeFile(folder.file("clip.mp4"), videoFile(4));
  for (const char* text : {"", "<MPD>", "<Other/>", "<MPD/>", "<MPD><Period/></MPD>", "\xFF\xFE\x01"}) {
    folder.text("clip.mpd", text);
    const MediaFile file = folder.open("clip.mp4");
    ASSERT_NE(file, nullptr) << text;
    EXPECT_EQ(file->GetTotalFrames(), 4u);
    EXPECT_NE(folder.open("clip.mpd"), nullptr) << "its media are in its folder";
  }
}

TEST(Manifest, ASetDeclaredAsVideoGivesTheAudio) {
  const Folder folder;
  writeFile(folder.file("clip.mp4"), videoFile(4));
  writeFile(folder.file("tone.dat"), audioFile(3));
  folder.manifest(
      "clip.mpd",
      "<AdaptationSet mimeType='video/mp4'><Representation><BaseURL>tone.dat</BaseURL></Representation>"
      "</AdaptationSet>");
  const MediaFile file = folder.open("clip.mpd");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetTotalFrames(), 4u);
  EXPECT_EQ(audioLength(*file), 3u * 1024);
}

TEST(Manifest, SuppliesTheRateThatTheTrackLacks) {
  const Folder folder;
  writeFile(folder.file("media.dat"), videoFile(4, 0));
  folder.manifest("clip.mpd", representation("video/mp4", "media.dat", "frameRate='60000/1001'"));
  const MediaFile file = folder.open("clip.mpd");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(describe(*file).video->stream.rate, 60000u);
  EXPECT_EQ(describe(*file).video->stream.scale, 1001u);
  writeFile(folder.file("media.dat"), videoFile(4, 1));
  EXPECT_EQ(describe(*folder.open("clip.mpd")).video->stream.rate, 25u)
      << "the track's own rate takes precedence";
}

TEST(Manifest, SegmentRangesLeadToTheFragments) {
  const Folder folder;
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
  const Bytes head = join({fileTypeBox(), movieBox({videoTrack(1, 25, 1)})});
  const Bytes a = fragment(1, {traf}), b = fragment(2, {traf});
  const Bytes index = sidxBox({{static_cast<std::uint32_t>(a.size())}});
  writeFile(folder.file("media.dat"), join({head, index, a, index, b}));
  const std::size_t first = head.size(), second = head.size() + index.size() + a.size();
  const auto framesWith = [&](const std::string& content) {
    folder.manifest("clip.mpd", representation("video/mp4", "media.dat", "", content.c_str()));
    const MediaFile file = folder.open("clip.mpd");
    return file ? file->GetTotalFrames() : 0;
  };
  const auto range = [](std::size_t offset) {
    return "indexRange='" + std::to_string(offset) + "-" + std::to_string(offset + 9) + "'";
  };
  EXPECT_EQ(framesWith("<SegmentList><SegmentURL " + range(first) + "/><SegmentURL " + range(second) +
                       "/></SegmentList>"),
            4u);
  EXPECT_EQ(framesWith("<SegmentBase " + range(first) + "/>"), 2u) << "only what that index lists";
  EXPECT_EQ(framesWith("<SegmentList><SegmentURL indexRange='x'/></SegmentList>"), 4u)
      << "the file's own indexes";
  EXPECT_EQ(framesWith("<SegmentList><SegmentURL indexRange='99999999-'/></SegmentList>"), 4u);
}

TEST(Manifest, AnAudioOnlyOpenUsesTheAudioSegments) {
  const Folder folder;
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  TrafSpec traf;
  traf.trackId = 2;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  const Bytes head = join({fileTypeBox(), movieBox({audio})});
  const Bytes a = fragment(1, {traf}), b = fragment(2, {traf});
  const Bytes index = sidxBox({{static_cast<std::uint32_t>(a.size())}});
  writeFile(folder.file("tone.dat"), join({head, index, a, index, b}));
  const std::string base = "<SegmentBase indexRange='" + std::to_string(head.size()) + "-'/>";
  folder.manifest("clip.mpd", representation("audio/mp4", "tone.dat", "", base.c_str()));
  const MediaFile file = folder.open("clip.mpd", MF_OPEN_AUDIO_ONLY);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(audioLength(*file), 1024u);
}

TEST(Companion, AudioThatCannotBeOpenedLeavesTheVideoReadable) {
  const Folder folder;
  writeFile(folder.file("clip.mp4"), videoFile(4));
  folder.manifest("clip.mpd", representation("audio/mp4", "missing.dat"));
  LogCapture log;
  const MediaFile file = folder.open("clip.mp4");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetTotalFrames(), 4u);
  EXPECT_EQ(file->Channels(), 0u);
}

TEST(Companion, AudioWithTheVideosNameIsNotOpenedTwice) {
  const Folder folder;
  writeFile(folder.file("clip.mp4"), videoFile(4));
  folder.manifest("clip.mpd", representation("audio/mp4", "clip.mp4"));
  LogCapture log;
  const MediaFile file = folder.open("clip.mp4");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Channels(), 0u);
  EXPECT_TRUE(log.lines.empty());
}

TEST(Companion, ItsAudioIsPartOfTheDescription) {
  const Folder folder;
  writeFile(folder.file("clip.m4v"), videoFile(4));
  writeFile(folder.file("clip.m4a"), audioFile(3));
  folder.manifest("clip.mpd",
                  representation("video/mp4", "clip.m4v") + representation("audio/mp4", "clip.m4a"));
  for (const char* name : {"clip.mpd", "clip.m4v"}) {
    const MediaFile file = folder.open(name);
    ASSERT_NE(file, nullptr) << name;
    const Described d = describe(*file);
    EXPECT_EQ(d.system.streams, 2u) << name;
    EXPECT_EQ(d.audio.channelMask, 0x3u) << name;
    EXPECT_EQ(d.audio.stream.length, 3u * 1024) << name;
  }
  const MediaFile alone = folder.open("clip.m4a", MF_OPEN_AUDIO_ONLY);
  ASSERT_NE(alone, nullptr);
  EXPECT_EQ(describe(*alone).system.streams, 1u);
}

TEST(Companion, ItsAudioReplacesTheMainFilesOwn) {
  const Folder folder;
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  TrafSpec video, own;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
  own.trackId = 2;
  own.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  writeFile(folder.file("clip.mp4"),
            join({fileTypeBox(), movieBox({videoTrack(1, 25, 1), audio}), fragment(1, {video, own})}));
  writeFile(folder.file("clip.m4a"), audioFile(3));
  folder.text("clip.mpd", "");
  const MediaFile file = folder.open("clip.mpd");
  ASSERT_NE(file, nullptr);
  const Described d = describe(*file);
  EXPECT_EQ(d.system.streams, 2u);
  EXPECT_EQ(d.audio.stream.length, 3u * 1024);
}

TEST(Companion, SetFileInfoOnAReadingObjectCreatesNone) {
  const Folder folder;
  writeFile(folder.file("clip.m4v"), videoFile(4));
  writeFile(folder.file("clip.m4a"), audioFile(3));
  const MediaFile file = folder.open("clip.m4v");
  ASSERT_NE(file, nullptr);
  Described d = describe(*file);
  EXPECT_EQ(d.system.streams, 1u) << "no manifest joins the two";
  EXPECT_EQ(file->SetFileInfo(3, nullptr, d.video.get(), &d.audio, nullptr), VL_OK);
  EXPECT_EQ(file->Channels(), 0x3u) << "as described";
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  EXPECT_EQ(file->Read(0, 10, 3, QVR_MODE_AUDIO, &descriptor, nullptr), 0xE8021001u);
  EXPECT_EQ(readFrame(*file, 1).data, sampleOf(10, 1).data);
}

TEST(Manifest, OverlongAndInvalidNamesFailWithAMessage) {
  const Folder folder;
  for (const std::string& url :
       {std::string(5000, 'x'), std::string("../../../../nowhere"), std::string("http://a/b.mp4")}) {
    folder.manifest("clip.mpd", representation("video/mp4", url.c_str()));
    LogCapture log;
    EXPECT_EQ(folder.open("clip.mpd"), nullptr);
    EXPECT_THAT(log.lines, Contains(pluginError("Cannot open file")));
  }
}

// The output of ffmpeg's own DASH writer, one file per representation.
TEST(Reference, FfmpegsDashOutputOpensThroughItsManifest) {
  const Folder folder;
  makeMedia(folder.file("clip.mpd"),
            videoInput(4, "25", "160x96") + toneInput(4.096) + h264Codec(25) +
                std::vector<std::string>{"-c:a", "aac", "-f", "dash", "-single_file", "1", "-use_template",
                                         "0", "-seg_duration", "1"});
  const MediaFile file = folder.open("clip.mpd");
  ASSERT_NE(file, nullptr);
  const std::string videoPath = folder.file("clip-stream0.mp4"), audioPath = folder.file("clip-stream1.mp4");
  const std::vector<Packet> packets = ffprobePackets(videoPath, "v:0");
  ASSERT_EQ(file->GetTotalFrames(), packets.size());
  for (std::uint32_t frame = 0; frame < packets.size(); ++frame) {
    const VideoFrame read = readFrame(*file, frame);
    ASSERT_EQ(read.status, VL_OK);
    char crc[9];
    std::snprintf(crc, sizeof crc, "%08lx", crc32_z(0, read.data.data(), read.data.size()));
    ASSERT_EQ(crc, packets[frame].crc32) << frame;
    ASSERT_EQ(read.key(), packets[frame].key) << frame;
  }
  const std::size_t duration = ffprobePackets(audioPath, "a:0").size() * 1024;
  EXPECT_EQ(audioLength(*file), duration);
  const MediaFile audio = folder.open("clip.mpd", MF_OPEN_AUDIO_ONLY);
  ASSERT_NE(audio, nullptr);
  EXPECT_EQ(audioLength(*audio), duration);
}

}  // namespace

}  // namespace fmp4
