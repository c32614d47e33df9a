#include "os/unfinished_replacements.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "os/path_name.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

class UnfinishedReplacements : public testing::Test {
 protected:
  void put(const std::string& name) const { writeFile(folder_.file(name), {'x'}); }
  // The names of those of "list.mpd".
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const std::string& file : os::unfinishedReplacements(folder_.file("list.mpd")))
      names.push_back(vlName(vlPath(file).filename()));
    return names;
  }

  const TempFolder folder_;
};

TEST_F(UnfinishedReplacements, AreNamedByAProcessAndANumber) {
  put("list.mpd.12-34");
  for (const char* other :
       {"list.mpd", "list.mpd.12", "list.mpd.12-", "list.mpd.-34", "list.mpd.12-3x", "list.mpd.1x-34",
        "list.mpd-12-34", "list.mpd512-34", "list.mpd.12-34.old", "list.12-34"})
    put(other);
  EXPECT_THAT(names(), ElementsAre("list.mpd.12-34"));
}

TEST_F(UnfinishedReplacements, AreSorted) {
  std::vector<std::string> expected;
  for (int i = 99; i > 9; --i) put("list.mpd.1-" + std::to_string(i));
  for (int i = 10; i < 100; ++i) expected.push_back("list.mpd.1-" + std::to_string(i));
  EXPECT_EQ(names(), expected);
}

TEST_F(UnfinishedReplacements, AreNotBeingWritten) {
  put("list.mpd.1-2");
  const std::ofstream held(vlPath(folder_.file("list.mpd.3-4")));
  ASSERT_TRUE(held);
  EXPECT_THAT(names(), ElementsAre("list.mpd.1-2"));
}

TEST_F(UnfinishedReplacements, OfAMissingFolderAreNone) {
  EXPECT_TRUE(os::unfinishedReplacements(folder_.file("missing/list.mpd")).empty());
}

}  // namespace

}  // namespace fmp4
