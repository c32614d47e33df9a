// The files of a recording that is to be made.
#include "tool/package/output_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/user_error.h"
#include "os/path_name.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(OutputFiles, MayHaveNamesOf255Bytes) {
  const TempFolder folder;
  // "A.m3u8" and ".master.m3u8" are appended.
  const auto named = [&folder](std::size_t bytes) { return folder.file(std::string(bytes, 'a') + ".mp4"); };
  EXPECT_NO_THROW(OutputFiles(named(255 - 12)));
  EXPECT_THROW(OutputFiles(named(255 - 11)), UserError);
}

TEST(OutputFiles, ThatWereThereBeforeStay) {
  const TempFolder folder;
  const std::filesystem::path video = vlPath(folder.file("news.m4v")),
                              list = vlPath(folder.file("news.m3u8"));
  writeFile(video, {1});
  const OutputFiles files(folder.file("news.mp4"));
  writeFile(list, {1});
  EXPECT_THAT(files.existing(), testing::ElementsAre(video, list));
  files.removeNew();
  EXPECT_THAT(files.existing(), testing::ElementsAre(video));
}

TEST(OutputFiles, OfSmoothNamesHaveAnotherManifest) {
  const TempFolder folder;
  writeFile(vlPath(folder.file("news.xml")), {1});
  EXPECT_THROW(OutputFiles(folder.file("news.ismv")).check(folder.file("source.mp4"), false), UserError);
  EXPECT_NO_THROW(OutputFiles(folder.file("news.mp4")).check(folder.file("source.mp4"), false));
}

}  // namespace

}  // namespace fmp4
