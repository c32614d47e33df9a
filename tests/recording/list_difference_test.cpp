// How lists differ from the expected ones, in words.
#include "recording/check/list_difference.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

constexpr char kPlaylist[] = "#EXTM3U\n#EXTINF:1.000,\nout.m4v\n#EXT-X-ENDLIST\n";

TEST(PlaylistDifference, NamesTheFirstLineThatDiffers) {
  EXPECT_EQ(playlistDifference(kPlaylist, kPlaylist), "");
  EXPECT_EQ(playlistDifference(kPlaylist, "#EXTM3U\n#EXTINF:2.000,\nout.m4v\n#EXT-X-ENDLIST\n"),
            "line 2 says \"#EXTINF:2.000,\", but the media say \"#EXTINF:1.000,\"");
  EXPECT_EQ(playlistDifference(kPlaylist, "#EXTM3U\n#EXTINF:1.000,\nout.m4v\n"),
            "its end marker \"#EXT-X-ENDLIST\" is missing");
  EXPECT_EQ(playlistDifference(kPlaylist, "#EXTM3U\n#EXTINF:1.0"),
            "line 2 says \"#EXTINF:1.0\", but the media say \"#EXTINF:1.000,\"");
  EXPECT_EQ(playlistDifference(kPlaylist, "#EXTM3U\n"), "it ends before line 2, \"#EXTINF:1.000,\"");
  EXPECT_EQ(playlistDifference(kPlaylist, ""), "it ends before line 1, \"#EXTM3U\"");
  EXPECT_EQ(playlistDifference(kPlaylist, std::string(kPlaylist) + "more\n"),
            "it continues after its end with \"more\"");
  EXPECT_EQ(playlistDifference(kPlaylist, "#EXTM3U\n\x1b[31m\n"),
            "line 2 says \"\\u001b[31m\", but the media say \"#EXTINF:1.000,\"");
}

TEST(PlaylistDifference, QuotesLongLinesFromShortlyBeforeWhereTheyDiffer) {
  const std::string start(200, 'a'), context(40, 'a'), end(200, 'z');
  EXPECT_EQ(playlistDifference(start + "b" + end + '\n', start + "c\n"),
            "line 1 says ...\"" + context + "c\", but the media say ...\"" + context + 'b' +
                std::string(79, 'z') + "\"...");
  EXPECT_EQ(playlistDifference("b" + end + '\n', "c\n"),
            "line 1 says \"c\", but the media say \"b" + std::string(119, 'z') + "\"...");
  EXPECT_EQ(playlistDifference(start + "\u00E9b\n", start + "\u00E9c\n"),
            "line 1 says ...\"" + std::string(38, 'a') + "\\u00e9c\", but the media say ...\"" +
                std::string(38, 'a') + "\\u00e9b\"");
  EXPECT_EQ(playlistDifference(start + "\u00E9" + std::string(39, 'a') + "b\n",
                               start + "\u00E9" + std::string(39, 'a') + "c\n"),
            "line 1 says ...\"\\u00e9" + std::string(39, 'a') + "c\", but the media say ...\"\\u00e9" +
                std::string(39, 'a') + "b\"");
}

constexpr char kManifest[] =
    "<MPD a=\"1\"><Set/><Set><Url r=\"0-1\"/><Url r=\"2-3\"/></Set><Base>out.m4v</Base></MPD>";

std::string with(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

TEST(ManifestDifference, NamesThePlaceThatDiffers) {
  EXPECT_EQ(manifestDifference(kManifest, kManifest), "");
  EXPECT_EQ(
      manifestDifference(kManifest, with(kManifest, "<Set/>", "\n  <!-- laid out -->\n  <Set></Set>\n")), "");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, "2-3", "2-4")),
            "MPD/Set[1]/Url[1] has r=\"2-4\", but the media say \"2-3\"");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, " a=\"1\"", "")), "MPD lacks a=\"1\"");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, " a=\"1\"", " a=\"1\" b=\"2\"")),
            "MPD has a \"b\" that recordings do not have");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, "<Url r=\"2-3\"/>", "")),
            "MPD/Set[1]/Url[1] is missing");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, "<Set/>", "<Set><Url/></Set>")),
            "\"Url\" should not be in MPD/Set");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, "out.m4v", "x")),
            "MPD/Base says \"x\", but the media say \"out.m4v\"");
  EXPECT_EQ(manifestDifference(kManifest, with(kManifest, "<Set/>", "<Other/>")),
            "\"Other\" is where MPD/Set should");
}

TEST(ManifestDifference, ReportsWhatIsNotADocument) {
  for (const char* text : {"", "<MPD", "<!-- nothing else -->", "<?xml version=\"1.0\"?>"}) {
    EXPECT_EQ(manifestDifference(kManifest, text), "it is not a complete XML document") << text;
    EXPECT_EQ(manifestDifference(text, kManifest), "") << text;
  }
}

}  // namespace

}  // namespace fmp4
