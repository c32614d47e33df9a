#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/library_number.h"
#include "places.h"
#include "support/temp_folder.h"
#include "vlutil.h"

namespace {

namespace fs = std::filesystem;

const std::string kBin = VL_BIN_DIR;

TEST(Library, WindowsNameWithAVersionIsFoundBesideTheHost) {
  EXPECT_EQ(numberOf("hosttestversioned-57.dll"), 1);
  EXPECT_EQ(numberOf("hosttestversioned-57"), 1);
  EXPECT_EQ(numberOf("hosttestversioned-57.DLL"), 1);
  EXPECT_EQ(numberOf("libhosttestversioned.so.57"), 1);
  EXPECT_EQ(numberOf("hosttestversioned-58.dll"), -1);
}

TEST(Library, NameWithoutAVersionIsTriedWithAndWithoutPrefix) {
  EXPECT_EQ(numberOf("hosttestplain"), 2);
  EXPECT_EQ(numberOf("hosttestplain.dll"), 2);
  EXPECT_EQ(numberOf("hosttestplain.so"), 2);
  EXPECT_EQ(numberOf("hosttestboth.dll"), 3);
  EXPECT_EQ(numberOf("hosttestboth.so"), 4);
}

TEST(Library, NameIsFoundAlongTheSystemsSearchPathToo) {
  EXPECT_EQ(numberOf("m-6.dll"), 0);
  EXPECT_EQ(numberOf("libm.so.6"), 0);
}

TEST(Library, RelativeFolderIsLookedForBeneathTheHostThenBeneathTheWorkingFolder) {
  EXPECT_EQ(numberOf("hosttest_formats\\hosttestfolder-57.dll"), 5);
  EXPECT_EQ(numberOf("hosttest_formats/hosttestfolder-57.dll"), 5);

  const TempFolder folder;
  const fs::path formats = folder.path() / "hosttest_formats";
  fs::create_directory(formats);
  fs::copy_file(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57", formats / "libhosttestfolder.so.57");
  fs::copy_file(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57", formats / "libhosttestother.so.57");
  const WorkingFolder working(folder.path());
  EXPECT_EQ(numberOf("hosttest_formats\\hosttestfolder-57.dll"), 5);
  EXPECT_EQ(numberOf("hosttest_formats\\hosttestother-57.dll"), 6);
  EXPECT_EQ(numberOf("hosttest_formats/libhosttestother.so.57"), 6);
}

TEST(Library, NativePathIsLoadedAsItIs) {
  EXPECT_EQ(numberOf(kBin + "/hosttestplain.so"), 2);
  EXPECT_EQ(numberOf(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57"), 6);
  const WorkingFolder working(kBin + "/hosttest_elsewhere");
  EXPECT_EQ(numberOf("./libhosttestfolder.so.57"), 6);
  EXPECT_EQ(numberOf("./hosttestplain.so"), -1) << "not looked for beside the host";
  EXPECT_EQ(numberOf("C:hosttestplain.so"), -1) << "a drive is none";
}

TEST(Library, FileThatDoesNotLoadIsLoggedWithItsReason) {
  const TempFolder folder;
  const std::string path = folder.file("broken.so");
  writeFile(path, {'n', 'o', ' ', 'l', 'i', 'b', 'r', 'a', 'r', 'y'});
  testing::internal::CaptureStderr();
  EXPECT_EQ(vlOSLoadLibrary(path.c_str(), 2), nullptr);
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_EQ(log.find("WARNING(vlhost): " + path), 0u) << log;
}

}  // namespace
