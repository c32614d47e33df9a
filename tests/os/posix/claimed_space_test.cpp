#include <gtest/gtest.h>
#include <sys/stat.h>

#include "os/disk_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(ClaimedSpace, IsFreedWhenTheFileIsTruncated) {
  const TempFolder folder;
  const std::string path = folder.file("media.bin");
  writeFile(path, {1, 2, 3});
  const auto bytesOnDisk = [&path] {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_blocks * 512 : -1;
  };
  os::DiskFile file;
  ASSERT_TRUE(file.open(path));
  ASSERT_TRUE(file.sync());
  const auto before = bytesOnDisk();
  file.claim(3, 1 << 20);
  if (bytesOnDisk() < 1 << 20) GTEST_SKIP() << "this file system cannot be asked";
  EXPECT_TRUE(file.cut(3));
  EXPECT_EQ(bytesOnDisk(), before);
  EXPECT_EQ(readFile(path), (std::vector<std::uint8_t>{1, 2, 3}));
}

}  // namespace

}  // namespace fmp4
