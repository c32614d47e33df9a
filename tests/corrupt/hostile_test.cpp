// Files of a megabyte made to cost as much as possible: memory grows with the size of the file, not with what
// it claims.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/corrupt/counted_reads.h"
#include "tests/corrupt/reading.h"
#include "tests/support/comma_locale.h"
#include "tests/support/controlled_new.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

constexpr std::size_t kFileBytes = 1 << 20;
// The smallest boxes make the largest trees: a node and a payload record for eight bytes.
constexpr std::size_t kMaxMemoryAByte = 48;
// What an object takes for any file: descriptions, sample windows.
constexpr std::size_t kMemoryOfAnObject = 8 << 20;

// As many as fit into a megabyte.
Bytes megabyteOf(const Bytes& part) {
  return repeat(part, kFileBytes / part.size());
}
Bytes fileWith(const Bytes& movie, const Bytes& after = {}) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  return join({fileTypeBox(), movie, fragment(1, {traf}), after});
}
Bytes movieWith(const Bytes& more) {
  const Bytes movie = movieBox({videoTrack()});
  return box("moov", {Bytes(movie.begin() + 8, movie.end()), more});
}

struct Hostile {
  const char* name;
  Bytes (*bytes)();
  bool opens;
};

const std::vector<Hostile> kHostile = {
    {"EightByteBoxesAtTheTop", [] { return fileWith(movieBox({videoTrack()}), megabyteOf(box("free"))); },
     true},
    {"EightByteFragments", [] { return fileWith(movieBox({videoTrack()}), megabyteOf(box("moof"))); }, true},
    {"EightByteBoxesInTheMovie", [] { return fileWith(movieWith(megabyteOf(box("wide")))); }, true},
    {"EmptyTrackHeaders", [] { return fileWith(movieWith(megabyteOf(box("tkhd")))); }, true},
    {"EmptyVideoEntries", [] { return fileWith(movieWith(megabyteOf(box("avc1")))); }, true},
    {"EmptyAudioEntries", [] { return fileWith(movieWith(megabyteOf(box("mp4a")))); }, true},
    {"EmptyDescriptors", [] { return fileWith(movieWith(megabyteOf(box("esds")))); }, true},
    {"EmptyRuns",
     [] {
       const Bytes runs = megabyteOf(fullBox("trun", 0, 0, {u32(0)}));
       const Bytes traf = box("traf", {fullBox("tfhd", 0, 0, {u32(1)}), runs});
       return fileWith(movieBox({videoTrack()}), box("moof", {fullBox("mfhd", 0, 0, {u32(2)}), traf}));
     },
     true},
    {"FragmentsThatClaimAllSamples",
     [] {
       const Bytes traf =
           box("traf", {fullBox("tfhd", 0, 0, {u32(1)}), fullBox("trun", 0, 0, {u32(0xFFFFFFFF)})});
       return fileWith(movieBox({videoTrack()}),
                       megabyteOf(box("moof", {fullBox("mfhd", 0, 0, {u32(2)}), traf})));
     },
     true},
    {"AudioTracks",
     [] {
       return fileWith(
           movieWith(join({trackBox(videoTrack()),
                           megabyteOf(trackBox({2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000)}))})));
     },
     true},
    {"TracksAndDefaults",
     [] {
       const Bytes tracks = repeat(trackBox({2, "text", 1, captionEntry("tx3g")}), 2000);
       return fileWith(movieWith(join({tracks, box("mvex", {repeat(box("trex"), 60000)})})));
     },
     true},
    {"IndexesOfReferencesOfNoSize",
     [] {
       const std::vector<ReferenceSpec> references(1000, ReferenceSpec{0});
       return fileWith(movieBox({videoTrack()}), megabyteOf(sidxBox(references)));
     },
     true},
    {"IndexesThatAllNameTheWholeFile",
     [] { return fileWith(movieBox({videoTrack()}), megabyteOf(sidxBox({{0x7FFFFFFF}}))); }, true},
    {"NestedTenThousandDeep",
     [] {
       Bytes nested;
       for (std::uint32_t i = 0; i < 10000; ++i) {
         const Bytes opener = boxOfSize(8 * (10000 - i), "udta");
         nested.insert(nested.end(), opener.begin(), opener.end());
       }
       return fileWith(movieWith(nested));
     },
     true},
};

class HostileFiles : public testing::TestWithParam<Hostile> {};

TEST_P(HostileFiles, CostMemoryByFileSize) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  const Bytes bytes = GetParam().bytes();
  writeFile(path, bytes);
  LogCapture log;
  const CountingNew counting;
  {
    const MediaFile file = openFile(path);
    ASSERT_EQ(file != nullptr, GetParam().opens);
    if (file) {
      EXPECT_EQ(readFrame(*file, 0).data, sampleOf(10, 1).data);
      for (const std::int32_t direction : {0, 1}) file->FindKeyFrame(1, 1, 0, direction);
    }
  }
  EXPECT_LT(counting.peakBytes(), kMemoryOfAnObject + kMaxMemoryAByte * bytes.size());
}

INSTANTIATE_TEST_SUITE_P(All, HostileFiles, testing::ValuesIn(kHostile),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(HostileFiles, OfFiftyMegabytesOfTheSmallestBoxesCostFewReadsAndLittleMemory) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  writeFile(path, join({fileTypeBox(), repeat(box("free"), 50'000'000 / 8)}));
  LogCapture log;
  const HostReads before = hostReads();
  const CountingNew counting;
  EXPECT_EQ(plugin().check(path.c_str(), 0, nullptr), 0xFFFFFFFF);
  EXPECT_EQ(openFile(path), nullptr);
  EXPECT_LT(counting.peakBytes(), 64'000'000u);
  const std::uint64_t reads = hostReads().calls - before.calls;
  EXPECT_GT(reads, 0u) << "nothing is counted";
  EXPECT_LT(reads, 300u);
}

void writeText(const std::string& path, const std::string& text) {
  writeFile(path, Bytes(text.begin(), text.end()));
}

TEST(HostileManifests, CostMemoryByFileSize) {
  const TempFolder folder;
  writeFile(folder.file("clip.mp4"), intactFile());
  std::string elements = "<MPD>",
              urls = "<MPD><Period><AdaptationSet><Representation mimeType='video/mp4'><SegmentList>";
  while (elements.size() < kFileBytes) elements += "<a/>";
  while (urls.size() < kFileBytes) urls += "<SegmentURL indexRange='8'/><SegmentURL indexRange='1'/>";
  urls += "</SegmentList></Representation></AdaptationSet></Period></MPD>";
  for (const std::string& text : {elements + "</MPD>", urls}) {
    writeText(folder.file("clip.mpd"), text);
    LogCapture log;
    const CountingNew counting;
    const MediaFile file = openFile(folder.file("clip.mpd"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(readForward(*file).frames, "012345");
    EXPECT_LT(counting.peakBytes(), kMemoryOfAnObject + kMaxMemoryAByte * text.size());
  }
}

TEST(HostileManifests, OfAHundredMegabytesAreIgnored) {
  const TempFolder folder;
  writeFile(folder.file("clip.mp4"), intactFile());
  writeText(folder.file("clip.mpd"), "<MPD/>");
  std::filesystem::resize_file(folder.file("clip.mpd"), 100u << 20);
  const CountingNew counting;
  const MediaFile file = openFile(folder.file("clip.mp4"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(readForward(*file).frames, "012345");
  EXPECT_LT(counting.peakBytes(), kMemoryOfAnObject);
}

// A video whose rate is only in its manifest.
TEST(HostLocale, OfDecimalCommasReadsRatesWithPoints) {
  const TempFolder folder;
  TrackSpec track = videoTrack();
  track.duration = 0;
  writeFile(folder.file("clip.mp4"), fileWith(movieBox({track})));
  const auto manifest = [](const std::string& rate) {
    return "<MPD><Period><AdaptationSet frameRate='" + rate +
           "'><Representation mimeType='video/mp4'/></AdaptationSet></Period></MPD>";
  };
  const CommaLocale locale;
  writeText(folder.file("clip.mpd"), manifest("23.976"));
  const MediaFile file = openFile(folder.file("clip.mpd"));
  ASSERT_NE(file, nullptr);
  const Described described = describe(*file);
  EXPECT_EQ(described.video->stream.rate, 24000u);
  EXPECT_EQ(described.video->stream.scale, 1001u);
  EXPECT_EQ(readFrame(*file, 0).data, sampleOf(10, 1).data);

  writeText(folder.file("clip.mpd"), manifest("23,976"));
  LogCapture log;
  EXPECT_EQ(openFile(folder.file("clip.mpd")), nullptr);
}

TEST(LongNames, AreRejectedByTheProbe) {
  for (const std::size_t length : {260u, 261u, 5000u, 100000u}) {
    for (const char* extension : {".mp4", ".xml"}) {
      const std::string name = "/" + std::string(length - 5, 'n') + extension;
      LogCapture log;
      EXPECT_EQ(plugin().check(name.c_str(), 0, nullptr), 0xFFFFFFFF) << length << extension;
      ASSERT_EQ(log.lines.size(), 1u);
      EXPECT_EQ(log.lines[0].level, VL_LOG_ERROR);
    }
  }
}

}  // namespace

}  // namespace fmp4
