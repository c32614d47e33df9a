// fuzz/targets.txt has every fuzz target that is built, so that each is run, once.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "tests/docs/document.h"

namespace fmp4 {

namespace {

TEST(FuzzTargets, AreAllRunOnceWithSeedsThatExist) {
  static const std::regex kTarget(R"(^vl_fuzz_target\((\w+) )");
  std::set<std::string> built, run;
  for (const std::string& line : linesOfFile(kTree / "fuzz/CMakeLists.txt"))
    if (std::smatch target; std::regex_search(line, target, kTarget)) built.insert(target.str(1));
  for (const std::string& line : linesOfFile(kTree / "fuzz/targets.txt")) {
    std::istringstream words(line);
    std::string target, inputs;
    words >> target >> inputs;
    EXPECT_TRUE(run.insert(target).second) << target << " is run twice";
    for (std::string word; words >> word;)
      EXPECT_TRUE(word.starts_with('-') || std::filesystem::is_directory(kTree / word)) << line;
  }
  EXPECT_EQ(run, built);
  EXPECT_FALSE(built.empty());
}

}  // namespace

}  // namespace fmp4
