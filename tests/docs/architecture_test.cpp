// docs/architecture.md names files that exist.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/docs/document.h"

namespace fmp4 {

namespace {

TEST(ArchitectureDocument, NamesFilesThatExist) {
  // A path has a slash and ends with an extension; a command or a folder in backticks has no such end.
  static const std::regex kPath(R"re(`"?([\w.-]+(?:/[\w.-]+)*/[\w-]+(?:\.[\w-]+)+)"?`)re");
  std::size_t paths = 0;
  for (const std::string& line : linesOfFile(kTree / "docs/architecture.md"))
    for (std::sregex_iterator match(line.begin(), line.end(), kPath), end; match != end; ++match, ++paths)
      EXPECT_TRUE(std::filesystem::is_regular_file(kTree / match->str(1))) << match->str(1);
  EXPECT_GT(paths, 0u);
}

}  // namespace

}  // namespace fmp4
