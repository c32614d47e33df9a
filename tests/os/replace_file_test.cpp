#include "os/replace_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/os/replaced_file.h"
#include "tests/support/system_errors.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

std::size_t filesIn(const TempFolder& folder) {
  using Iterator = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(Iterator(folder.path()), Iterator()));
}

TEST(ReplaceFile, CreatesAFileAndReplacesItLeavingNothingElse) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  EXPECT_TRUE(replaced(path, "first"));
  EXPECT_EQ(contentOf(path), "first");
  EXPECT_TRUE(replaced(path, "2nd"));
  EXPECT_EQ(contentOf(path), "2nd");
  EXPECT_TRUE(replaced(path, ""));
  EXPECT_EQ(contentOf(path), "");
  EXPECT_EQ(filesIn(folder), 1u);
}

TEST(ReplaceFile, JoinsItsPartsWhateverTheDurability) {
  const TempFolder folder;
  const std::string path = folder.file("list.txt");
  const std::string_view parts[] = {"one ", "", "two ", "three"};
  for (const auto durability : {os::Durability::EitherContent, os::Durability::NewContent}) {
    EXPECT_TRUE(replaced(path, "before"));
    EXPECT_FALSE(os::replaceFile(path, parts, durability));
    EXPECT_EQ(contentOf(path), "one two three");
  }
  EXPECT_FALSE(os::replaceFile(path, {}, os::Durability::NewContent));
  EXPECT_EQ(contentOf(path), "");
}

TEST(ReplaceFile, FailsWithoutAFolderAndKeepsTheOldFile) {
  const TempFolder folder;
  EXPECT_EQ(os::replaceFile(folder.file("missing/list.txt"), "x").value(), static_cast<int>(kErrorNoFolder));
  std::filesystem::create_directory(folder.file("taken"));
  EXPECT_TRUE(os::replaceFile(folder.file("taken"), "x"));
  EXPECT_TRUE(std::filesystem::is_directory(folder.file("taken")));
  EXPECT_EQ(filesIn(folder), 1u) << "no temporary file is left";
}

}  // namespace

}  // namespace fmp4
