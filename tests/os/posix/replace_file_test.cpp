#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/os/replaced_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(ReplaceFile, GivesNewFilesDefaultPermissionsAndKeepsThoseOfOldOnes) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  const mode_t mask = umask(022);
  EXPECT_TRUE(replaced(path, "first"));
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0644u);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  EXPECT_TRUE(replaced(path, "second"));
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0640u);
}

TEST(ReplaceFile, LeavesAReaderTheContentItHasOpened) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  writeFile(path, {'o', 'l', 'd'});
  std::ifstream reader(path);
  EXPECT_TRUE(replaced(path, "newer"));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST(ReplaceFile, KeepsASymbolicLink) {
  const TempFolder folder;
  writeFile(folder.file("real.txt"), {'o'});
  std::filesystem::create_symlink("real.txt", folder.file("link.txt"));
  EXPECT_TRUE(replaced(folder.file("link.txt"), "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.txt")));
  EXPECT_EQ(contentOf(folder.file("real.txt")), "new");
}

TEST(ReplaceFile, PassesOverTemporaryFilesThatWereLeftBehind) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  const std::string start = path + "." + std::to_string(getpid()) + "-";
  for (int i = 0; i < 1000; ++i) writeFile(start + std::to_string(i), {'x'});
  EXPECT_TRUE(replaced(path, "new"));
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_EQ(contentOf(start + "0"), "x");
}

}  // namespace

}  // namespace fmp4
