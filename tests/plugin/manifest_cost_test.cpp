// What opening through a manifest costs, in host reads and memory rather than in seconds.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/corrupt/counted_reads.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kListed = 3000;  // segments of each track

// Two media files with a manifest that lists their segments.
struct ListedRecording : TempFolder {
  ListedRecording() {
    std::string sets;
    std::uint64_t mediaBytes = 0;
    for (const bool isVideo : {true, false}) {
      DayFile media;
      media.fragments = kListed;
      media.fragmentsPerSegment = 1;
      media.hasMedia = false;
      media.hasVideo = isVideo;
      media.hasAudio = !isVideo;
      const std::string name = isVideo ? "clip.m4v" : "clip.m4a";
      media.write(file(name));
      mediaBytes += std::filesystem::file_size(file(name));
      sets += "<AdaptationSet><Representation mimeType='" + std::string(isVideo ? "video" : "audio") +
              "/mp4'><BaseURL>" + name + "</BaseURL><SegmentList>";
      for (const DayFile::Segment& segment : media.segments) {
        sets += "<SegmentURL mediaRange='" + std::to_string(segment.start) + "-" +
                std::to_string(segment.end - 1) + "' indexRange='" + std::to_string(segment.start) + "-" +
                std::to_string(segment.indexEnd) + "'/>\n";
      }
      sets += "</SegmentList></Representation></AdaptationSet>";
    }
    const std::string text = "<MPD><Period>" + sets + "</Period></MPD>";
    writeFile(file("clip.mpd"), Bytes(text.begin(), text.end()));
    manifestBytes = text.size();
    otherBytes = mediaBytes;
  }

  std::uint64_t manifestBytes = 0;
  std::uint64_t otherBytes = 0;  // of the media files
};

TEST(ManifestCost, AVideoAndItsAudioReadTheirManifestOnce) {
  const ListedRecording recording;
  for (const char* name : {"clip.mpd", "clip.m4v"}) {
    const HostReads before = hostReads();
    const MediaFile file = openFile(recording.file(name));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->GetTotalFrames(), kListed * DayFile::kVideoSamples);
    EXPECT_EQ(describe(*file).audio.stream.length, kListed * DayFile::kAudioSamples * 1024);
    const std::uint64_t bytes = hostReads().bytes - before.bytes;
    EXPECT_GE(bytes, recording.manifestBytes);
    EXPECT_LT(bytes, recording.manifestBytes * 3 / 2 + recording.otherBytes) << name;
  }
}

TEST(ManifestCost, AudioAloneIsOpenedOnce) {
  const ListedRecording recording;
  for (const char* name : {"clip.m4v", "clip.mpd"}) std::filesystem::remove(recording.file(name));
  const auto reads = [&recording](std::uint32_t flags) {
    const HostReads before = hostReads();
    EXPECT_NE(openFile(recording.file("clip.m4a"), flags), nullptr);
    return hostReads().calls - before.calls;
  };
  reads(0);  // what is read once in a process
  EXPECT_EQ(reads(0), reads(MF_OPEN_AUDIO_ONLY));
}

TEST(ManifestCost, SegmentsAreNoObjectsOfADocument) {
  const ListedRecording recording;
  openFile(recording.file("clip.mpd"));  // what is made once in a process
  const CountingNew counting;
  openFile(recording.file("clip.m4a"), MF_OPEN_AUDIO_ONLY);
  EXPECT_LT(counting.peakBytes(), 3 * recording.manifestBytes);
}

}  // namespace

}  // namespace fmp4
