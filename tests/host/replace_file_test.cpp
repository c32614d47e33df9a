// Bytes that must last: waiting for the disk, and replacing a file in one step.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "replaced_file.h"
#include "support/system_errors.h"
#include "support/temp_folder.h"
#include "vlutil.h"

namespace {

std::size_t filesIn(const TempFolder& folder) {
  using Iterator = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(Iterator(folder.path()), Iterator()));
}

TEST(FlushFile, TakesOpenFilesAndNoOthers) {
  const TempFolder folder;
  const VLHANDLE file = vlOSCreateFile(folder.file("data.bin").c_str(), VL_GENERIC_READ | VL_GENERIC_WRITE,
                                       VL_SHARE_READ_WRITE, nullptr, VL_CREATE_ALWAYS, 0, VL_NO_HANDLE);
  ASSERT_EQ(vlOSWriteFile(file, "abc", 3, nullptr), 1);
  EXPECT_EQ(vlOSFlushFile(file), 1);
  EXPECT_EQ(vlOSTell(file), 3);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(vlOSFlushFile(file), 0);
  EXPECT_EQ(vlOSGetLastError(), kErrorNotOpen);
  EXPECT_EQ(vlOSFlushFile(VL_INVALID_HANDLE), 0);
}

TEST(ReplaceFile, MakesAFileAndReplacesItLeavingNothingElse) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  EXPECT_EQ(replace(path, "first"), 1);
  EXPECT_EQ(contentOf(path), "first");
  EXPECT_EQ(replace(path, "2nd"), 1);
  EXPECT_EQ(contentOf(path), "2nd");
  EXPECT_EQ(replace(path, ""), 1);
  EXPECT_EQ(contentOf(path), "");
  EXPECT_EQ(filesIn(folder), 1u);
}

TEST(ReplaceFile, FailsWithoutAFolderAndKeepsWhatIsThere) {
  const TempFolder folder;
  EXPECT_EQ(replace(folder.file("missing/list.txt"), "x"), 0);
  EXPECT_EQ(vlOSGetLastError(), kErrorNoFolder);
  EXPECT_EQ(vlOSReplaceFile(nullptr, "x", 1), 0);
  EXPECT_EQ(vlOSReplaceFile(folder.file("list.txt").c_str(), nullptr, 1), 0);
  EXPECT_EQ(vlOSGetLastError(), kErrorInvalid);
  std::filesystem::create_directory(folder.file("taken"));
  EXPECT_EQ(replace(folder.file("taken"), "x"), 0);
  EXPECT_TRUE(std::filesystem::is_directory(folder.file("taken")));
  EXPECT_EQ(filesIn(folder), 1u) << "nothing half made is left";
}

}  // namespace
