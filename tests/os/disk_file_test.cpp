#include "os/disk_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(DiskFile, SyncsWhatAnotherHandleWrote) {
  const TempFolder folder;
  const std::string path = folder.file("media.bin");
  std::ofstream writer(path, std::ios::binary);
  os::DiskFile file;
  ASSERT_TRUE(file.open(path));
  writer << "abc" << std::flush;
  EXPECT_TRUE(file.sync());
  EXPECT_TRUE(os::syncName(path));
  EXPECT_EQ(readFile(path).size(), 3u) << "opening it changed nothing";
}

TEST(DiskFile, TruncatesAfterAByteAndNeverExtends) {
  const TempFolder folder;
  const std::string path = folder.file("media.bin");
  writeFile(path, {1, 2, 3, 4, 5});
  os::DiskFile file;
  ASSERT_TRUE(file.open(path));
  EXPECT_TRUE(file.cut(7));
  EXPECT_EQ(readFile(path).size(), 5u);
  EXPECT_TRUE(file.cut(2));
  EXPECT_EQ(readFile(path), (std::vector<std::uint8_t>{1, 2}));
  EXPECT_TRUE(file.cut(0));
  EXPECT_EQ(readFile(path).size(), 0u);
}

TEST(DiskFile, DoesNothingForAMissingFile) {
  const TempFolder folder;
  os::DiskFile file;
  EXPECT_FALSE(file.sync());
  EXPECT_FALSE(file.cut(0));
  EXPECT_FALSE(file.open(folder.file("missing.bin")));
  EXPECT_FALSE(file.sync());
  EXPECT_FALSE(std::filesystem::exists(folder.file("missing.bin")));
  writeFile(folder.file("media.bin"), {1});
  ASSERT_TRUE(file.open(folder.file("media.bin")));
  file.close();
  EXPECT_FALSE(file.cut(0));
  EXPECT_EQ(readFile(folder.file("media.bin")).size(), 1u);
}

TEST(DiskFile, ClaimsSpaceWithoutChangingTheFile) {
  const TempFolder folder;
  const std::string path = folder.file("media.bin");
  writeFile(path, {1, 2, 3});
  os::DiskFile file;
  file.claim(0, 1 << 20);
  ASSERT_TRUE(file.open(path));
  file.claim(3, 1 << 20);
  EXPECT_EQ(readFile(path), (std::vector<std::uint8_t>{1, 2, 3}));
}

#if !defined(_WIN32)
TEST(DiskFile, FollowsARenamedFile) {
  const TempFolder folder;
  writeFile(folder.file("media.bin"), {1, 2, 3});
  os::DiskFile file;
  ASSERT_TRUE(file.open(folder.file("media.bin")));
  std::filesystem::rename(folder.file("media.bin"), folder.file("moved.bin"));
  writeFile(folder.file("media.bin"), {4, 5, 6});
  EXPECT_TRUE(file.cut(1));
  EXPECT_EQ(readFile(folder.file("moved.bin")).size(), 1u);
  EXPECT_EQ(readFile(folder.file("media.bin")).size(), 3u);
}
#endif

}  // namespace

}  // namespace fmp4
