#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "os/disk_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(ClaimedSpace, IsFreedWhenTheFileIsTruncated) {
  const TempFolder folder;
  const std::string path = folder.file("media.bin"), other = folder.file("other.bin");
  writeFile(path, {1, 2, 3});
  writeFile(other, {1, 2, 3});
  const auto bytesOnDisk = [](const std::string& name) {
    struct stat status = {};
    return stat(name.c_str(), &status) == 0 ? status.st_blocks * 512 : -1;
  };
  os::DiskFile file;
  ASSERT_TRUE(file.open(path));
  ASSERT_TRUE(file.sync());
  const auto before = bytesOnDisk(path);
  // The same by the system call: not every file system takes claims.
  const int descriptor = open(other.c_str(), O_WRONLY);
  ASSERT_EQ(fsync(descriptor), 0);
  fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 3, 1 << 20);
  close(descriptor);
  file.claim(3, 1 << 20);
  EXPECT_EQ(bytesOnDisk(path), bytesOnDisk(other));
  EXPECT_TRUE(file.cut(3));
  EXPECT_EQ(bytesOnDisk(path), before);
  EXPECT_EQ(readFile(path), (std::vector<std::uint8_t>{1, 2, 3}));
}

}  // namespace

}  // namespace fmp4
