#include "os/replace_file.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <iterator>
#include <string>
#include <thread>

#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

VLHANDLE openReader(const std::string& path) {
  return vlOSCreateFile(path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0,
                        VL_NO_HANDLE);
}

TEST(ReplaceFile, WaitsForAReaderThatHoldsTheFile) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  writeFile(path, {'o', 'l', 'd'});
  const VLHANDLE reader = openReader(path);
  std::thread closing([reader] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(vlOSCloseFile(reader), 1);
  });
  EXPECT_FALSE(os::replaceFile(path, "newer"));
  closing.join();
  EXPECT_EQ(readFile(path).size(), 5u);
}

TEST(ReplaceFile, GivesUpOnAPersistentReaderAndKeepsTheOldFile) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  writeFile(path, {'o', 'l', 'd'});
  const VLHANDLE reader = openReader(path);
  EXPECT_TRUE(os::replaceFile(path, "newer"));
  EXPECT_EQ(vlOSCloseFile(reader), 1);
  EXPECT_EQ(readFile(path).size(), 3u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no temporary file";
}

}  // namespace

}  // namespace fmp4
