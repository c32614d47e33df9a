// Segment lists taken out of manifests, held against the documents of their whole text.
#include "streaming/lists/segment_runs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "streaming/lists/manifest_reader.h"
#include "streaming/lists/mpd_writer.h"
#include "tests/support/box_builder.h"
#include "tests/support/controlled_new.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/same_manifest.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A manifest whose video has this segment list.
std::string listing(const std::string& list) {
  return "<?xml version='1.0'?>\n<MPD><Period><AdaptationSet><Representation mimeType='video/mp4'>"
         "<BaseURL>v.m4v</BaseURL>\n<SegmentList>" +
         list + "</SegmentList></Representation></AdaptationSet></Period></MPD>\n";
}

constexpr char kFirst[] = "<SegmentURL mediaRange=\"1-9\" indexRange=\"1-2\"/>";
constexpr char kSecond[] = "\n  <SegmentURL indexRange='10-11' mediaRange='10-19' />";
constexpr char kThird[] = "<SegmentURL\n\tindexRange=\"20-21\"/>";

TEST(SegmentRuns, AreTakenOutAllButTheFirst) {
  SegmentRuns runs;
  EXPECT_EQ(runs.takeFrom(std::string("<a>\n") + kFirst + kSecond + kThird + "\n<b/>" + kThird + "</a>"),
            std::string("<a>\n\n") + kFirst + "\n\n<b/>" + kThird + "</a>");
  EXPECT_THAT(runs.after(3), ElementsAre(10u, 20u));
  for (const int line : {0, 1, 2, 4, 5, 6}) EXPECT_THAT(runs.after(line), IsEmpty()) << line;
}

TEST(SegmentRuns, LeadToAllOffsetsInTheirOrder) {
  const std::string text = listing(std::string(kFirst) + kSecond + kThird + "<!-- \" -->" + kThird + kFirst +
                                   "<SegmentURL/>" + kFirst + "<SegmentURL media='x'/>" + kSecond);
  tinyxml2::XMLDocument document;
  SegmentRuns runs;
  ASSERT_TRUE(parseManifestDocument(text, document, runs));
  EXPECT_THAT(readManifest(document, runs)->video.indexOffsets, ElementsAre(1u, 10u, 20u, 20u, 1u, 1u, 10u));
}

// Texts around elements that look like those of a run.
std::vector<std::string> alikes() {
  const std::string run = std::string(kFirst) + kSecond + kThird;
  const auto entry = [](const std::string& attributes) { return "<SegmentURL " + attributes + "/>"; };
  return {
      listing(""),
      listing(kFirst),
      listing(run),
      listing(run + "<Other/>" + run),
      listing("<!--" + run + "-->" + run),
      listing("<!--" + run + run),
      listing("<![CDATA[" + run + "]]>" + run),
      listing("<?note " + run + "?>" + run),
      listing("<!NOTE " + run + ">" + run),
      listing("<Other text='" + std::string(kThird) + kThird + "'/>" + run),
      listing("text" + run + "text" + run),
      listing("<Other>" + run + "</Other>" + run),
      listing("<SegmentURL>" + run + "</SegmentURL>" + run),
      listing("<SegmentURL mediaRange='1-2'>" + run + "</SegmentURL>"),
      listing("<SegmentURLs" + entry("indexRange='1-2'") + run),
      listing("<SegmentURLs indexRange='1-2'/>" + run),
      listing("<SegmentURLindexRange='1-2'/>" + run),
      listing("< SegmentURL indexRange='1-2'/>" + run),
      listing("<SegmentURL indexRange='1-2' / >" + run),
      listing("<SegmentURL indexRange = '3-4'/>" + run),
      listing(run + entry("indexRange='1-2' indexRange='3-4'") + run),
      listing(run + entry("mediaRange='1-2' mediaRange='3-4'") + run),
      listing(run + entry("indexRange='1-2'mediaRange='3-4'") + run),
      listing(run + entry("indexRange='&#49;-2'") + run),
      listing(run + entry("indexRange='x' media='1.m4s'") + run),
      listing(entry("media='1.m4s' indexRange='3-4'") + run),
      listing(run + entry("indexRange='3-4") + run),
      listing(run + entry("indexRange=3-4") + run),
      listing(run + entry("indexRange=\"3'-4\"") + run),
      listing(run + entry("indexRange='<SegmentURL/>'") + run),
      listing(run + entry("indexRange=' 3 - 4\r\n'") + run),
      listing(run + entry("mediaRange='1\n\n2'") + kThird + "<a/>" + run),
      listing(run + "\v" + run),
      listing(run + "&amp;" + run),
      listing(run + "\r\n" + run),
      listing(run) + std::string("\0<a", 3) + run,
      listing(run + std::string("\0", 1) + run),
      run,
      run + listing(run),
      "\xEF\xBB\xBF" + listing(run),
      listing(run) + run,
      listing(run + run + "</SegmentList><SegmentList>" + run),
      listing("</SegmentList><BaseURL>" + run + "x</BaseURL><SegmentList>"),
      listing(run + "<SegmentURL"),
      listing(run + "<SegmentURL "),
      listing(run + "<SegmentURL indexRange='"),
  };
}

TEST(SegmentRuns, ChangeNothingThatIsReadOfAManifest) {
  for (const std::string& text : alikes()) expectSameManifest(text);
}

TEST(SegmentRuns, ChangeNothingWhateverIsDamaged) {
  const std::string text = listing(std::string(kFirst) + kSecond + "<!-- -->" + kThird + kFirst);
  for (std::size_t i = 0; i < text.size(); ++i) {
    expectSameManifest(text.substr(0, i));
    expectSameManifest(text.substr(0, i) + text.substr(i + 1));
    for (const char other : {'<', '>', '"', '\'', '/', '&', '\n', ' ', 'x', '\0'}) {
      std::string damaged = text;
      damaged[i] = other;
      expectSameManifest(damaged);
    }
  }
}

TEST(SegmentRuns, ChangeNothingOfOtherProgramsManifests) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mpd"),
            videoInput(4, "25", "160x96") + toneInput(4.096) + h264Codec(25) +
                std::vector<std::string>{"-c:a", "aac", "-f", "dash", "-single_file", "1", "-use_template",
                                         "0", "-seg_duration", "1"});
  const Bytes bytes = readFile(folder.file("clip.mpd"));
  const std::string text(bytes.begin(), bytes.end());
  expectSameManifest(text);
  SegmentRuns runs;
  EXPECT_LT(runs.takeFrom(text).size(), text.size()) << "nothing is taken out";
}

// A manifest of two tracks with as many segments each.
std::string recorded(std::uint32_t segments) {
  MpdWriter manifest("none.mpd");
  MpdVideo video;
  video.rate = {30, 1};
  video.segments = {"v.m4v", 30, 30, 700};
  MpdAudio audio;
  audio.segments = {"a.m4a", 48000, 48128, 600};
  for (const MpdWriter::List list : {manifest.beginVideo(video, true), manifest.beginAudio(audio)}) {
    for (std::uint64_t i = 0; i < segments; ++i) {
      manifest.reserveSegment(list);
      manifest.AddSegment(list, 1000 + i * 400, 1400 + i * 400, 1044 + i * 400);
    }
  }
  return manifest.text();
}

TEST(SegmentRuns, OfARecordingTakeNoMemoryButTheirNumbers) {
  constexpr std::uint32_t kSegments = 20000;
  const std::string text = recorded(kSegments);
  std::optional<Manifest> manifest;
  const CountingNew counting;
  {
    tinyxml2::XMLDocument document;
    SegmentRuns runs;
    ASSERT_TRUE(parseManifestDocument(text, document, runs));
    manifest = readManifest(document, runs);
  }
  EXPECT_LT(counting.allocations(), 100u) << "each segment is an object of its own";
  EXPECT_LT(counting.peakBytes(), 7u * 8 * kSegments);
  ASSERT_EQ(manifest->video.indexOffsets.size(), kSegments);
  ASSERT_EQ(manifest->audio.indexOffsets.size(), kSegments);
  EXPECT_EQ(manifest->audio.indexOffsets.back(), 1000 + 400u * (kSegments - 1));
  expectSameManifest(recorded(3));
}

TEST(SegmentRuns, AreFoundInTimeProportionalToTheText) {
  // Each could be looked at to the end of the text.
  for (const char* part : {"<SegmentURL ", "<SegmentURL indexRange='", "<SegmentURL indexRange=\"'", "<!--<",
                           "<SegmentURL/><a", "<SegmentURL indexRange='1' mediaRange='"}) {
    std::string text;
    while (text.size() < 4u << 20) text += part;
    SegmentRuns runs;
    EXPECT_LE(runs.takeFrom(text).size(), text.size() * 2) << part;
  }
}

}  // namespace

}  // namespace fmp4
