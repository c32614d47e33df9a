// File names as users give them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "os/path_name.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

std::string makeClip(const TempFolder& folder, const std::filesystem::path& file) {
  makeMedia(folder.file("clip.mp4"), videoInput(1) + toneInput(1) + h264Codec(15, 0) + fragmented());
  std::filesystem::rename(folder.file("clip.mp4"), file);
  return vlName(file);
}

TEST(Names, OfAnyScriptAndWithSpacesWorkInEveryCommand) {
  const TempFolder folder;
  const std::filesystem::path place = folder.path() / vlPath("Ordner mit Größe");
  std::filesystem::create_directory(place);
  const std::string clip = makeClip(folder, place / vlPath("Aufnahme Nº 1 – 東京.mp4"));
  EXPECT_EQ(fmp4({"probe", clip}).out, "accepted " + clip + "\n");
  EXPECT_EQ(nlohmann::json::parse(fmp4({"--quiet", "info", "--json", clip}).out)["file"], clip);
  const std::string video = vlName(place / vlPath("Bild ä.h264")),
                    audio = vlName(place / vlPath("Ton ö.wav"));
  EXPECT_EQ(fmp4({"--quiet", "export", clip, "--video", video, "--audio", audio}).exitCode, 0);
  EXPECT_GT(std::filesystem::file_size(vlPath(video)), 1000u);
  EXPECT_GT(std::filesystem::file_size(vlPath(audio)), 100000u);
  const RunResult packaged =
      fmp4({"--quiet", "package", clip, "--output", vlName(place / vlPath("Kopie €.mp4"))});
  EXPECT_EQ(packaged.exitCode, 0) << packaged.err;
  for (const char* name :
       {"Kopie €.m4v", "Kopie €.m4a", "Kopie €.m3u8", "Kopie €A.m3u8", "Kopie €.master.m3u8"})
    EXPECT_TRUE(std::filesystem::exists(place / vlPath(name))) << name;
  EXPECT_EQ(linesOf(fmp4({"--quiet", "frames", vlName(place / vlPath("Kopie €.mpd"))}).out).size(), 31u);
}

// The text of a list, with lines that end in "\n" on every system.
std::string textOf(const std::filesystem::path& path) {
  const auto bytes = readFile(path.string());
  std::string text(bytes.begin(), bytes.end());
  std::erase(text, '\r');
  return text;
}

TEST(Names, WithUriReservedCharactersAreEncodedInLists) {
  const TempFolder folder;
  const std::string clip = makeClip(folder, folder.path() / "clip 100%.mp4");
  ASSERT_EQ(fmp4({"--quiet", "package", clip, "--output", folder.file("a b#1 50%25.mp4")}).exitCode, 0);
  const std::string name = "a%20b%231%2050%2525";
  EXPECT_THAT(textOf(folder.file("a b#1 50%25.m3u8")), testing::HasSubstr("URI=\"" + name + ".m4v\""));
  EXPECT_THAT(textOf(folder.file("a b#1 50%25.m3u8")), testing::HasSubstr("\n" + name + ".m4v\n"));
  EXPECT_THAT(textOf(folder.file("a b#1 50%25A.m3u8")), testing::HasSubstr("URI=\"" + name + ".m4a\""));
  EXPECT_THAT(textOf(folder.file("a b#1 50%25.mpd")),
              testing::HasSubstr("<BaseURL>" + name + ".m4v</BaseURL>"));
  const std::string master = textOf(folder.file("a b#1 50%25.master.m3u8"));
  EXPECT_THAT(master, testing::HasSubstr("URI=\"" + name + "A.m3u8\""));
  EXPECT_THAT(master, testing::HasSubstr("\n" + name + ".m3u8\n"));
  for (const char* list : {".mpd", ".m3u8", "A.m3u8", ".master.m3u8"})
    EXPECT_EQ(fmp4({"--quiet", "verify", folder.file(std::string("a b#1 50%25") + list)}).exitCode, 0)
        << list;
  // The plug-in finds both media files through the manifest.
  EXPECT_EQ(fmp4({"--quiet", "export", folder.file("a b#1 50%25.mpd"), "--audio", folder.file("audio.wav")})
                .exitCode,
            0);
  EXPECT_EQ(linesOf(fmp4({"--quiet", "frames", folder.file("a b#1 50%25.mpd")}).out).size(), 31u);
}

// As earlier versions wrote lists.
TEST(Names, UnencodedInListsAreFoundToo) {
  const TempFolder folder;
  const std::string clip = makeClip(folder, folder.path() / "clip.mp4");
  ASSERT_EQ(fmp4({"--quiet", "package", clip, "--no-audio", "--output", folder.file("a%41.mp4")}).exitCode,
            0);
  std::string manifest = textOf(folder.file("a%41.mpd"));
  manifest.replace(manifest.find("a%2541"), 6, "a%41");
  writeFile(folder.file("other.mpd"), {manifest.begin(), manifest.end()});
  EXPECT_EQ(linesOf(fmp4({"--quiet", "frames", folder.file("other.mpd")}).out).size(), 31u);
}

TEST(Names, MayBeAsLongAsTheHostAllows) {
  const TempFolder folder;
  const std::string start = vlName(folder.path() / "");
  const std::filesystem::path longest = vlPath(start + std::string(255 - start.size(), 'x') + ".mp4");
  const std::string clip = makeClip(folder, longest);
  ASSERT_EQ(clip.size(), 259u);
  EXPECT_EQ(linesOf(fmp4({"--quiet", "frames", clip}).out).size(), 31u);
  // The lists beside it have longer names, of at most 255 bytes.
  const std::string output = vlName(folder.path() / std::string(235 - start.size(), 'y')) + ".mp4";
  const RunResult packaged = fmp4({"--quiet", "package", clip, "--output", output});
  EXPECT_EQ(packaged.exitCode, 0) << packaged.err;
  EXPECT_TRUE(std::filesystem::exists(vlPath(output).replace_extension(".mpd")));
}

// They are refused before anything is written.
TEST(Names, TooLongForAListAreRefused) {
  const TempFolder folder;
  const std::string clip = makeClip(folder, folder.path() / "clip.mp4");
  const std::string base(244, 'x'), output = folder.file(base + ".mp4");
  const RunResult result = fmp4({"--quiet", "package", clip, "--output", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err,
              testing::EndsWith(
                  "fmp4: '" + output + "' is too long a name: '" + base +
                  ".master.m3u8', which belongs to the recording, would have 256 bytes, and names have at "
                  "most 255\n"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "the source alone";
}

}  // namespace

}  // namespace fmp4
