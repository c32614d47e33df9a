#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/host/library_number.h"
#include "tests/support/log_capture.h"
#include "tests/support/own_process.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

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

TEST(Library, NameIsAlsoFoundAlongTheSystemsSearchPath) {
  EXPECT_EQ(numberOf("m-6.dll"), 0);
  EXPECT_EQ(numberOf("libm.so.6"), 0);
}

TEST(Library, RelativeFolderIsSearchedOnlyBelowTheHost) {
  const TempFolder folder;
  const fs::path formats = folder.path() / "hosttest_formats";
  fs::create_directory(formats);
  for (const fs::path& copy : {formats / "libhosttestfolder.so.57", formats / "libhosttestother.so.57",
                               folder.path() / "libhosttestother.so.57"})
    fs::copy_file(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57", copy);
  const WorkingFolder working(folder.path());
  for (const char* name :
       {"hosttest_formats\\hosttestfolder-57.dll", "hosttest_formats/hosttestfolder-57.dll",
        "./hosttest_formats/libhosttestfolder.so.57"})
    EXPECT_EQ(numberOf(name), 5) << name;
  for (const char* name : {"hosttest_formats\\hosttestother-57.dll",
                           "hosttest_formats/libhosttestother.so.57", "hosttestother-57.dll",
                           "libhosttestother.so.57", ".\\hosttestother-57.dll", "./libhosttestother.so.57"})
    EXPECT_EQ(numberOf(name), -1) << name;
}

TEST(Library, NameIsAlsoFoundBesideTheProgram) {
  const TempFolder folder;
  const fs::path formats = folder.path() / "hosttest_formats";
  fs::create_directory(formats);
  for (const fs::path& copy : {formats / "libhosttestfolder.so.57", formats / "libhosttestother.so.57",
                               folder.path() / "libhosttestother.so.57"})
    fs::copy_file(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57", copy);
  fs::copy_file(thisProgram(), folder.path() / "program");
  const Environment host("LD_LIBRARY_PATH", kBin.c_str());
  inProcessOf(folder.path() / "program", [] {
    EXPECT_EQ(numberOf("hosttestother-57.dll"), 6);
    EXPECT_EQ(numberOf("hosttest_formats\\hosttestother-57.dll"), 6);
    EXPECT_EQ(numberOf("hosttest_formats\\hosttestfolder-57.dll"), 5) << "beside the host library first";
  });
}

TEST(Library, NativePathIsLoadedUnchanged) {
  EXPECT_EQ(numberOf(kBin + "/hosttestplain.so"), 2);
  EXPECT_EQ(numberOf(kBin + "/hosttest_elsewhere/libhosttestfolder.so.57"), 6);
  EXPECT_EQ(numberOf("C:hosttestplain.so"), -1) << "a drive letter is not a native path";
}

// ---- Dependencies of a library -----------------------------------------------------------------------

TEST(Library, BindsToTheLibrariesBesideIt) {
  EXPECT_EQ(numberOf(kBin + "/hosttest_formats/libhosttestasking.so"), 7);
  EXPECT_EQ(numberOf("hosttest_formats\\hosttestasking.dll"), 7);
}

TEST(Library, PrefersTheLibrariesBesideItToTheSearchPath) {
  const std::string elsewhere = kBin + "/hosttest_elsewhere";
  const Environment searchPath("LD_LIBRARY_PATH", elsewhere.c_str());
  inProcessOf(thisProgram(), [] { EXPECT_EQ(numberOf("hosttest_formats\\hosttestasking.dll"), 7); });
}

TEST(Library, BindsToTheSearchPathsLibraryWhereNoneIsBesideIt) {
  const TempFolder folder;
  fs::copy_file(kBin + "/hosttest_formats/libhosttestasking.so", folder.path() / "libhosttestasking.so");
  const std::string elsewhere = kBin + "/hosttest_elsewhere";
  const Environment searchPath("LD_LIBRARY_PATH", elsewhere.c_str());
  inProcessOf(thisProgram(), [&] { EXPECT_EQ(numberOf(folder.file("libhosttestasking.so")), 8); });
}

TEST(Library, ThatNeedsItselfDoesNotLoadForever) {
  std::vector<std::uint8_t> bytes = readFile(kBin + "/hosttest_formats/libhosttestasking.so");
  const std::string needed = "libhosttestneeded.so", itself = "libhosttestasking.so";
  for (auto at = bytes.begin();
       (at = std::search(at, bytes.end(), needed.begin(), needed.end())) != bytes.end();)
    at = std::copy(itself.begin(), itself.end(), at);
  const TempFolder folder;
  writeFile(folder.file(itself), bytes);
  EXPECT_EQ(numberOf(folder.file(itself)), -1) << "its symbols are not defined anywhere";
}

// ---- Log messages ------------------------------------------------------------------------------------

TEST(Library, FileThatFailsToLoadIsLoggedOnceWithItsReason) {
  const TempFolder folder;
  const std::string path = folder.file("broken.so");
  writeFile(path, {'n', 'o', ' ', 'l', 'i', 'b', 'r', 'a', 'r', 'y'});
  LogCapture log;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(vlOSLoadLibrary(path.c_str(), 2), nullptr);
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0].level, VL_LOG_WARNING);
  EXPECT_EQ(log.lines[0].text.find("WARNING(vlhost): " + path + ": "), 0u) << log.lines[0].text;
}

// Loading it would end the process.
TEST(Library, TruncatedFileIsNotLoaded) {
  std::vector<std::uint8_t> bytes = readFile(kBin + "/hosttest_formats/libhosttestneeded.so");
  bytes.resize(bytes.size() / 4);  // within its segments, which debug information follows
  const TempFolder folder;
  writeFile(folder.file("libcut.so"), bytes);
  LogCapture log;
  EXPECT_EQ(vlOSLoadLibrary(folder.file("libcut.so").c_str(), 2), nullptr);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_WARNING, "WARNING(vlhost): " + folder.file("libcut.so") +
                                                                 ": the file is truncated\n"}));
}

TEST(Library, LoadFailureOnTheSearchPathIsLoggedButNotAbsence) {
  const TempFolder folder;
  writeFile(folder.file("libhosttestbroken.so.3"), {'n', 'o', ' ', 'l', 'i', 'b', 'r', 'a', 'r', 'y'});
  const Environment searchPath("LD_LIBRARY_PATH", folder.path().c_str());
  inProcessOf(thisProgram(), [&] {
    LogCapture log;
    EXPECT_EQ(numberOf("hosttestnone-3.dll"), -1);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(numberOf("hosttestbroken-3.dll"), -1);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_THAT(log.lines[0].text,
                AllOf(StartsWith("WARNING(vlhost): /"), HasSubstr("/libhosttestbroken.so.3: ")));
  });
}

}  // namespace

}  // namespace fmp4
