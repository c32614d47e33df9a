#include "tool/host/input_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "base/user_error.h"
#include "os/path_name.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

// The names of the files that a folder with `content` stands for.
std::vector<std::string> inputsAmong(const std::vector<std::string>& content) {
  const TempFolder folder;
  for (const std::string& name : content) writeFile(folder.path() / vlPath(name), {});
  std::vector<std::string> names;
  for (const std::string& name : inputNames({vlName(folder.path())})) {
    EXPECT_EQ(vlPath(name).parent_path(), folder.path());
    names.push_back(vlName(vlPath(name).filename()));
  }
  return names;
}

TEST(InputNames, OfFilesStandForThemselves) {
  EXPECT_THAT(inputNames({"b.mp4", "missing/a.txt", "b.mp4"}),
              ElementsAre("b.mp4", "missing/a.txt", "b.mp4"));
}

TEST(InputNames, OfAFolderStandForItsMediaInOrder) {
  EXPECT_THAT(inputsAmong({"c.m4a", "b.mp4", "a.isma", "d.ismv", "e.MP4", "notes.txt", "f.h264"}),
              ElementsAre("a.isma", "b.mp4", "c.m4a", "d.ismv", "e.MP4"));
}

TEST(InputNames, OfAFolderHaveEachRecordingOnce) {
  EXPECT_THAT(inputsAmong({"a.m4v", "a.m4a", "a.mpd", "a.m3u8", "aA.m3u8", "a.master.m3u8", "b.ismv", "b.xml",
                           "b.m3u8", "a.mp4"}),
              ElementsAre("a.m4v", "a.mp4", "b.ismv"));
  EXPECT_THAT(inputsAmong({"a.m4a", "a.mpd"}), ElementsAre("a.mpd")) << "its video is missing";
}

TEST(InputNames, OfAFolderLeaveItsSubFoldersOut) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.path() / "inner.mp4");
  writeFile(folder.path() / "a.mp4", {});
  EXPECT_THAT(inputNames({"first.mp4", vlName(folder.path())}),
              ElementsAre("first.mp4", vlName(folder.path() / "a.mp4")));
}

TEST(InputNames, OfAFolderWithoutMediaAreRefused) {
  const TempFolder folder;
  writeFile(folder.path() / "notes.txt", {});
  try {
    inputNames({vlName(folder.path())});
    FAIL() << "no error";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), "the folder '" + vlName(folder.path()) +
                                "' has no MP4 files or manifests (.mp4, .m4v, .m4a, .ismv, .isma, .mpd)");
  }
}

}  // namespace

}  // namespace fmp4
