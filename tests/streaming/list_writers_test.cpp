// The manifest and the playlists of a recording, as they are written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "streaming/lists/mpd_writer.h"
#include "streaming/lists/playlist_writer.h"
#include "tests/support/comma_locale.h"
#include "tests/support/controlled_new.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::Not;

// The lines of a text, whatever the system's line ending.
std::string textOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// ---- Durations --------------------------------------------------------------------------------------

TEST(DurationText, CountsHoursMinutesAndHundredths) {
  EXPECT_EQ(durationText(0, {30000, 1001}), "PT0H0M0.00S");
  EXPECT_EQ(durationText(5400, {30, 1}), "PT0H3M0.00S");
  EXPECT_EQ(durationText(5400, {30000, 1000}), "PT0H3M0.00S");
  EXPECT_EQ(durationText(1, {30000, 1001}), "PT0H0M0.03S");
  EXPECT_EQ(durationText(107892, {30000, 1001}), "PT0H59M60.00S") << "rounded to two decimals";
  EXPECT_EQ(durationText(25u * 86400, {25, 1}), "PT24H0M0.00S");
}

// ---- Playlists --------------------------------------------------------------------------------------

PlaylistSettings settings() {
  return {"out.m4v", 30000.0 / 1001, 300, 701, "2016-09-21T08:15:30.250Z"};
}

constexpr char kHeader[] =
    "#EXTM3U\n"
    "#EXT-X-VERSION:7\n"
    "#EXT-X-TARGETDURATION:10\n"
    "#EXT-X-MEDIA-SEQUENCE:0\n"
    "#EXT-X-INDEPENDENT-SEGMENTS\n"
    "#EXT-X-MAP:URI=\"out.m4v\",BYTERANGE=\"701@0\"\n"
    "#EXT-X-PROGRAM-DATE-TIME:2016-09-21T08:15:30.250Z\n";

TEST(PlaylistWriter, BeginsWithTheHeaderAndIsReadableAtOnce) {
  const TempFolder folder;
  PlaylistWriter playlist;
  playlist.start(folder.file("out.m3u8"), settings());
  EXPECT_EQ(textOf(folder.file("out.m3u8")), kHeader);
}

TEST(PlaylistWriter, ListsEachSegmentAtOnceAndEnds) {
  const CommaLocale locale;
  const TempFolder folder;
  PlaylistWriter playlist;
  playlist.start(folder.file("out.m3u8"), settings());
  playlist.AddSegment(300, 701, 5000000000);
  const std::string first =
      std::string(kHeader) + "#EXTINF:10.010,\n#EXT-X-BYTERANGE:4999999299@701\nout.m4v\n";
  EXPECT_EQ(textOf(folder.file("out.m3u8")), first);
  playlist.AddSegment(307, 5000000000, 5000000100);
  playlist.end();
  EXPECT_EQ(textOf(folder.file("out.m3u8")),
            first + "#EXTINF:0.234,\n#EXT-X-BYTERANGE:100@5000000000\nout.m4v\n#EXT-X-ENDLIST\n");
}

TEST(PlaylistWriter, StartedAgainReplacesTheFile) {
  const TempFolder folder;
  PlaylistWriter playlist;
  playlist.start(folder.file("out.m3u8"), settings());
  playlist.AddSegment(300, 701, 1000);
  playlist.start(folder.file("out.m3u8"), settings());
  playlist.AddSegment(150, 701, 1000);
  EXPECT_EQ(textOf(folder.file("out.m3u8")),
            std::string(kHeader) + "#EXTINF:5.005,\n#EXT-X-BYTERANGE:299@701\nout.m4v\n");
}

TEST(PlaylistWriter, IgnoresCallsWithoutAFile) {
  const TempFolder folder;
  PlaylistWriter playlist;
  playlist.AddSegment(1, 2, 3);
  playlist.end();
  playlist.start(folder.file("missing/out.m3u8"), settings());
  playlist.AddSegment(300, 701, 1000);
  playlist.end();
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(PlaylistText, RoundsAndSaturatesItsTargetDuration) {
  EXPECT_EQ(playlistTargetDuration(300, 30000.0 / 1001), 10u);
  EXPECT_EQ(playlistTargetDuration(481280, 48000), 10u);
  EXPECT_EQ(playlistTargetDuration(14, 30), 0u);
  EXPECT_EQ(playlistTargetDuration(15, 30), 1u);
  EXPECT_EQ(playlistTargetDuration(0, 30), 0u);
  EXPECT_EQ(playlistTargetDuration(~0ull, 1), 0xFFFFFFFFu);
}

// ---- Manifests --------------------------------------------------------------------------------------

MpdVideo video() {
  MpdVideo video;
  video.profile = 0x64;
  video.level = 0x1E;
  video.width = 320;
  video.height = 180;
  video.rate = {30000, 1001};
  video.segments = {"out.m4v", 30000, 300300, 700};
  video.startTime = "2016-09-21T08:15:30.250Z";
  return video;
}

TEST(MpdWriter, WritesVideoAndAudioSetsInOrder) {
  MpdWriter manifest("");
  const MpdWriter::List videoList = manifest.beginVideo(video(), true);
  const MpdWriter::List audioUnits = manifest.beginAudio({0x40, 16000, {"out.m4a", 48000, 481280, 660}});
  manifest.AddSegment(audioUnits, 661, 2181, 813);
  manifest.AddSegment(videoList, 701, 4305, 853);
  manifest.AddSegment(videoList, 4305, 6000000000, 4457);
  manifest.setDuration(5400);
  EXPECT_EQ(
      manifest.text(),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" minBufferTime=\"PT1.500000S\" type=\"static\" "
      "profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\" "
      "mediaPresentationDuration=\"PT0H3M0.18S\" availabilityStartTime=\"2016-09-21T08:15:30.250Z\" "
      "publishTime=\"2016-09-21T08:15:30.250Z\">\n"
      "    <Period start=\"PT0H0M0.00S\" id=\"1\">\n"
      "        <AdaptationSet>\n"
      "            <Representation id=\"1\" mimeType=\"video/mp4\" codecs=\"avc1.64001e\" width=\"320\" "
      "height=\"180\" frameRate=\"30000/1001\" bandwidth=\"0\">\n"
      "                <BaseURL>out.m4v</BaseURL>\n"
      "                <SegmentList timescale=\"30000\" duration=\"300300\">\n"
      "                    <Initialization range=\"0-700\"/>\n"
      "                    <SegmentURL mediaRange=\"701-4304\" indexRange=\"701-853\"/>\n"
      "                    <SegmentURL mediaRange=\"4305-5999999999\" indexRange=\"4305-4457\"/>\n"
      "                </SegmentList>\n"
      "            </Representation>\n"
      "        </AdaptationSet>\n"
      "        <AdaptationSet>\n"
      "            <Representation id=\"2\" mimeType=\"audio/mp4\" codecs=\"mp4a.40.02\" "
      "audioSamplingRate=\"48000\" bandwidth=\"128000\">\n"
      "                <BaseURL>out.m4a</BaseURL>\n"
      "                <SegmentList timescale=\"48000\" duration=\"481280\">\n"
      "                    <Initialization range=\"0-660\"/>\n"
      "                    <SegmentURL mediaRange=\"661-2180\" indexRange=\"661-813\"/>\n"
      "                </SegmentList>\n"
      "            </Representation>\n"
      "        </AdaptationSet>\n"
      "    </Period>\n"
      "</MPD>\n");
}

TEST(MpdWriter, NamesTheAudioOfTheSameFile) {
  MpdVideo both = video();
  both.audio = {0x40, 44100};
  MpdWriter manifest("");
  manifest.beginVideo(both, false);
  EXPECT_THAT(manifest.text(), HasSubstr("codecs=\"avc1.64001e,mp4a.40.02\""));
  EXPECT_THAT(manifest.text(), HasSubstr("bandwidth=\"0\" audioSamplingRate=\"44100\">"));
  EXPECT_THAT(manifest.text(), HasSubstr("mediaPresentationDuration=\"PT0S\""))
      << "until something is written";
  EXPECT_THAT(manifest.text(), Not(HasSubstr("<AdaptationSet/>")));
}

TEST(MpdWriter, HasAnEmptySetForAudioThatNeverComes) {
  MpdWriter manifest("");
  manifest.beginVideo(video(), true);
  EXPECT_THAT(manifest.text(), HasSubstr("        <AdaptationSet/>\n"));
}

TEST(MpdWriter, WritesMarkupAsReferencesAndNamesAsUris) {
  MpdVideo named = video();
  named.segments.mediaName = "a<b>&\"c'.m4v";
  named.startTime = "<&\"'>";
  MpdWriter manifest("");
  manifest.beginVideo(named, false);
  EXPECT_THAT(manifest.text(), HasSubstr("<BaseURL>a%3Cb%3E&amp;%22c'.m4v</BaseURL>"));
  EXPECT_THAT(manifest.text(), HasSubstr("publishTime=\"&lt;&amp;&quot;&apos;&gt;\""));
}

TEST(MpdWriter, IgnoresListsThatHaveNotBegun) {
  MpdWriter manifest("");
  manifest.setDuration(30);
  manifest.reserveSegment(MpdWriter::List::Video);
  manifest.AddSegment(MpdWriter::List::Video, 1, 2, 3);
  manifest.AddSegment(MpdWriter::List::Audio, 1, 2, 3);
  manifest.beginAudio({0x40, 16000, {"out.m4a", 48000, 481280, 660}});
  EXPECT_EQ(manifest.text(), "");
  manifest.beginVideo(video(), true);
  const std::string begun = manifest.text();
  manifest.AddSegment(MpdWriter::List::Audio, 1, 2, 3);
  EXPECT_EQ(manifest.text(), begun);
}

// Running out of memory at the beginning leaves a manifest that ignores all calls and can begin again.
TEST(MpdWriter, BeginsCompletelyOrNotAtAll) {
  MpdWriter entire("");
  entire.beginVideo(video(), true);
  entire.beginAudio({0x40, 16000, {"out.m4a", 48000, 481280, 660}});
  unsigned failed = 0;
  for (bool met = true; met; ++failed) {
    MpdWriter manifest("");
    std::string text;
    {
      const FailingNewAt failing(failed);
      try {
        manifest.beginVideo(video(), true);
        manifest.beginAudio({0x40, 16000, {"out.m4a", 48000, 481280, 660}});
      } catch (const std::bad_alloc&) {
      }
      met = failing.met();
    }
    if (!met) break;
    manifest.AddSegment(MpdWriter::List::Audio, 1, 2, 3);
    EXPECT_THAT(manifest.text(), Not(HasSubstr("SegmentURL"))) << failed;
    manifest.beginVideo(video(), true);
    manifest.beginAudio({0x40, 16000, {"out.m4a", 48000, 481280, 660}});
    EXPECT_EQ(manifest.text(), entire.text()) << failed;
  }
  EXPECT_GT(failed, 20u);
}

TEST(MpdWriter, AddingASegmentAndSavingAllocateLittle) {
  const TempFolder folder;
  MpdWriter manifest(folder.file("out.mpd"));
  const MpdWriter::List list = manifest.beginVideo(video(), false);
  const CountingNew counting;
  constexpr std::uint64_t kSegments = 10000;
  for (std::uint64_t i = 0; i < kSegments; ++i) {
    manifest.AddSegment(list, 701 + i * 1000, 1701 + i * 1000, 853 + i * 1000);
    manifest.setDuration(i * 300);
  }
  EXPECT_LE(counting.allocations(), 20u) << "the text doubles its capacity now and then";
  EXPECT_LE(counting.peakBytes(), kSegments * 300);
  const std::size_t before = counting.allocations();
  manifest.save(os::Durability::EitherContent);
  EXPECT_LE(counting.allocations() - before, 10u) << "the manifest is neither printed nor copied";
  EXPECT_EQ(textOf(folder.file("out.mpd")), manifest.text());
}

TEST(MpdWriter, SavesOnlyOnceBegun) {
  const TempFolder folder;
  MpdWriter manifest(folder.file("out.mpd"));
  manifest.setDuration(10);
  manifest.save(os::Durability::NewContent);
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.mpd"))) << "not begun";
  const MpdWriter::List list = manifest.beginVideo(video(), false);
  manifest.save(os::Durability::NewContent);
  EXPECT_EQ(textOf(folder.file("out.mpd")), manifest.text());
  manifest.AddSegment(list, 701, 4305, 853);
  EXPECT_THAT(textOf(folder.file("out.mpd")), Not(HasSubstr("SegmentURL")));
  manifest.save(os::Durability::NewContent);
  EXPECT_EQ(textOf(folder.file("out.mpd")), manifest.text());
}

}  // namespace

}  // namespace fmp4
