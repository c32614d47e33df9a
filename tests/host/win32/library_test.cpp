#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "os/path_name.h"
#include "tests/host/library_number.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

const std::string kBin = VL_BIN_DIR;

TEST(Library, NameIsFoundBesideTheHost) {
  EXPECT_EQ(numberOf("hosttestversioned-57.dll"), 1);
  EXPECT_EQ(numberOf("HostTestVersioned-57.DLL"), 1);
  EXPECT_EQ(numberOf("hosttestversioned-57"), 1);
  EXPECT_EQ(numberOf("hosttestversioned-58.dll"), -1);
}

TEST(Library, NameIsAlsoFoundAlongTheSystemsSearchPath) {
  EXPECT_EQ(numberOf("version.dll"), 0);
  EXPECT_EQ(numberOf("version"), 0);
}

TEST(Library, RelativeFolderIsSearchedOnlyBelowTheHost) {
  EXPECT_EQ(numberOf("hosttest_formats\\hosttestfolder-57.dll"), 5);
  EXPECT_EQ(numberOf("hosttest_formats/hosttestfolder-57.dll"), 5);
  const TempFolder folder;
  const std::filesystem::path formats = folder.path() / "hosttest_formats";
  std::filesystem::create_directory(formats);
  const std::string elsewhere = kBin + "/hosttest_elsewhere/hosttestfolder-57.dll";
  std::filesystem::copy_file(elsewhere, formats / "hosttestfolder-57.dll");
  std::filesystem::copy_file(elsewhere, formats / "hosttestother-57.dll");
  std::filesystem::copy_file(elsewhere, folder.path() / "hosttestother-57.dll");
  const std::string drive = folder.path().string().substr(0, 2);
  {
    const WorkingFolder working(folder.path());
    EXPECT_EQ(numberOf("hosttest_formats\\hosttestfolder-57.dll"), 5);
    EXPECT_EQ(numberOf(".\\hosttest_formats\\hosttestfolder-57.dll"), 5);
    for (const std::string& name :
         {std::string("hosttest_formats\\hosttestother-57.dll"), std::string("hosttestother-57.dll"),
          std::string(".\\hosttestother-57.dll"), drive + "hosttestother-57.dll"})
      EXPECT_EQ(numberOf(name), -1) << name;
  }
}

TEST(Library, PathWithADriveIsLoadedUnchanged) {
  const TempFolder folder;
  const std::filesystem::path place = folder.path() / vlPath("Größe 東京");
  std::filesystem::create_directory(place);
  std::filesystem::copy_file(kBin + "/hosttest_elsewhere/hosttestfolder-57.dll", place / "named.dll");
  const std::string path = vlName(place / "named.dll");
  ASSERT_EQ(path.substr(1, 2), ":\\");
  EXPECT_EQ(numberOf(path), 6);
  EXPECT_EQ(numberOf(path.substr(0, path.size() - 4)), 6) << "the extension may be omitted";
}

TEST(Library, FileThatFailsToLoadIsLoggedWithItsReason) {
  const TempFolder folder;
  const std::string path = folder.file("broken.dll");
  writeFile(path, {'n', 'o', ' ', 'l', 'i', 'b', 'r', 'a', 'r', 'y'});
  testing::internal::CaptureStderr();
  EXPECT_EQ(vlOSLoadLibrary(path.c_str(), 2), nullptr);
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_EQ(log.find("WARNING(vlhost): " + path + " does not load, error 193"), 0u) << log;
}

}  // namespace

}  // namespace fmp4
