#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"
#include "tests/support/turkish_locale.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

constexpr std::int64_t kAccepted = 0;
constexpr std::int64_t kRefused = 0xFFFFFFFF;

std::int64_t probe(const std::string& name, std::uint32_t flags = 0) {
  return plugin().check(name.c_str(), flags, nullptr);
}
void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

TEST(Probe, ManifestsAndSmoothNamesAreAcceptedUnread) {
  LogCapture log;
  for (const char* name : {"/nowhere/a.MPD", "/nowhere/a.mpd", "a.ismv", "a.IsMa", "a.ism", "a.ISMC"}) {
    EXPECT_EQ(probe(name), kAccepted) << name;
  }
  EXPECT_TRUE(log.lines.empty());
}

TEST(Probe, ExtensionsAreComparedAlikeInEveryLocale) {
  const TurkishLocale locale;
  for (const char* name : {"a.ISMV", "a.ISMA", "a.ISM"}) EXPECT_EQ(probe(name), kAccepted) << name;
}

TEST(Probe, NullAndEmptyNamesAreAccepted) {
  EXPECT_EQ(plugin().check(nullptr, 0, nullptr), kAccepted);
  EXPECT_EQ(probe(""), kAccepted);
}

TEST(Probe, FlagBit30AcceptsAnyNameUnread) {
  LogCapture log;
  EXPECT_EQ(probe("/nowhere/anything.txt", 0x40000000), kAccepted);
  EXPECT_EQ(probe("/nowhere/a.mp4", 0x40000001), kAccepted);
  EXPECT_TRUE(log.lines.empty());
}

TEST(Probe, AnXmlFileIsAcceptedByItsRootElement) {
  const TempFolder folder;
  writeText(folder.file("good.XML"), "<?xml version=\"1.0\"?><MPD><Period/></MPD>");
  writeText(folder.file("other.xml"), "<SmoothStreamingMedia/>");
  writeText(folder.file("broken.xml"), "<MPD><Period></MPD>");
  writeText(folder.file("empty.xml"), "");
  LogCapture log;
  EXPECT_EQ(probe(folder.file("good.XML")), kAccepted);
  EXPECT_TRUE(log.lines.empty());
  for (const char* name : {"other.xml", "broken.xml", "empty.xml", "missing.xml"}) {
    log.lines.clear();
    EXPECT_EQ(probe(folder.file(name)), kRefused) << name;
    EXPECT_THAT(log.lines, ElementsAre(pluginError("Couldn't open mpd"))) << name;
  }
}

TEST(Probe, AFragmentedFileIsAcceptedWhateverItsName) {
  const TempFolder folder;
  for (const char* name : {"a.mp4", "a.m4v", "a.dat", "plain"}) {
    writeFile(folder.file(name), join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {TrafSpec{}})}));
    EXPECT_EQ(probe(folder.file(name)), kAccepted) << name;
  }
}

TEST(Probe, APlainFileIsRefused) {
  const TempFolder folder;
  makeMedia(folder.file("plain.mp4"), videoInput(0.2) + h264Codec());
  LogCapture log;
  EXPECT_EQ(probe(folder.file("plain.mp4")), kRefused);
  EXPECT_THAT(log.lines, ElementsAre(pluginError("No moof, not a fragmented mp4")));
}

TEST(Probe, FilesWithoutBoxesAreRefused) {
  const TempFolder folder;
  writeText(folder.file("text.mp4"), "hello, this is not a film");
  writeText(folder.file("empty.mp4"), "");
  for (const char* name : {"text.mp4", "empty.mp4"}) {
    LogCapture log;
    EXPECT_EQ(probe(folder.file(name)), kRefused);
    EXPECT_THAT(log.lines, ElementsAre(pluginError("No moof, not a fragmented mp4")));
  }
}

TEST(Probe, AMissingFileCannotBeOpened) {
  const TempFolder folder;
  LogCapture log;
  EXPECT_EQ(probe(folder.file("missing.mp4")), kRefused);
  EXPECT_THAT(log.lines, ElementsAre(pluginError("Cannot open file")));
}

TEST(Probe, AManifestTooDeepOrTooLargeIsRefused) {
  const TempFolder folder;
  std::string deep = "<MPD>";
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  writeText(folder.file("deep.xml"), deep);
  writeText(folder.file("large.xml"), "<MPD/>");
  std::filesystem::resize_file(folder.file("large.xml"), 100u << 20);
  for (const char* name : {"deep.xml", "large.xml"}) {
    LogCapture log;
    EXPECT_EQ(probe(folder.file(name)), kRefused) << name;
    EXPECT_THAT(log.lines, ElementsAre(pluginError("Couldn't open mpd"))) << name;
  }
}

}  // namespace

}  // namespace fmp4
