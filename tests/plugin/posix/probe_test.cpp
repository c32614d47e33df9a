// What the probe leaves open.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// Descriptors of this process that are open on a file.
int descriptorsOf(const std::string& file) {
  int count = 0;
  std::error_code gone;  // the descriptor of the walk itself is among them
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    count += std::filesystem::read_symlink(entry, gone) == file;
  return count;
}

TEST(Probe, AnAcceptedFileStaysOpenAndARefusedOneDoesNot) {
  const TempFolder folder;
  const std::string fragmented = folder.file("fragmented.mp4"), plain = folder.file("plain.mp4");
  writeFile(plain, join({fileTypeBox(), movieBox({videoTrack()})}));
  writeFile(fragmented, join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {TrafSpec{}})}));

  EXPECT_EQ(plugin().check(fragmented.c_str(), 0, nullptr), 0);
  EXPECT_EQ(plugin().check(plain.c_str(), 0, nullptr), 0xFFFFFFFF);
  EXPECT_EQ(descriptorsOf(fragmented), 1);
  EXPECT_EQ(descriptorsOf(plain), 0);
}

}  // namespace

}  // namespace fmp4
