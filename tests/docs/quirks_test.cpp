// docs/quirks.md numbers its entries, names tests that exist, and has every entry that the code refers to.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <regex>
#include <set>

#include "tests/docs/document.h"

namespace fmp4 {

namespace {

// The text of all sources below a folder.
std::string sourcesBelow(const std::filesystem::path& folder) {
  std::string text;
  for (std::filesystem::recursive_directory_iterator entry(folder), end; entry != end; ++entry) {
    const std::filesystem::path extension = entry->path().extension();
    if (entry->path().filename() == "node_modules") entry.disable_recursion_pending();
    if (extension != ".cpp" && extension != ".h" && extension != ".inl") continue;
    std::ifstream file(entry->path(), std::ios::binary);
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
}

// The cells of each entry: number, what, for whom, tests.
std::vector<std::vector<std::string>> entries() {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : linesOfFile(kTree / "docs/quirks.md")) {
    std::vector<std::string> cells = cellsOf(line);
    if (cells.size() == 4 && cells[0].find_first_not_of("0123456789") == std::string::npos)
      rows.push_back(std::move(cells));
  }
  return rows;
}

TEST(QuirksDocument, NumbersItsEntriesFromOne) {
  std::size_t number = 0;
  for (const auto& cells : entries()) EXPECT_EQ(cells[0], std::to_string(++number));
  EXPECT_GT(number, 0u);
}

TEST(QuirksDocument, NamesATestOfEachEntryThatExists) {
  static const std::regex kTest(R"(`(\w+)\.(\w+)`)");
  const std::string tests = sourcesBelow(kTree / "tests");
  for (const auto& cells : entries()) {
    const std::string& held = cells[3];
    std::sregex_iterator test(held.begin(), held.end(), kTest), end;
    EXPECT_TRUE(test != end || held == "`tests/players`") << "quirk " << cells[0];
    for (; test != end; ++test) {
      const std::string macro = '(' + test->str(1) + ", " + test->str(2) + ')';
      EXPECT_NE(tests.find(macro), std::string::npos) << "quirk " << cells[0] << " names " << test->str();
    }
  }
}

TEST(QuirksDocument, HasEveryEntryThatTheCodeRefersTo) {
  static const std::regex kReference(R"(quirk (\d+))");
  std::set<std::string> numbers, referred;
  for (const auto& cells : entries()) numbers.insert(cells[0]);
  for (const auto& folder : std::filesystem::directory_iterator(kTree)) {
    if (!std::filesystem::exists(folder.path() / "CMakeLists.txt")) continue;  // no sources of ours
    const std::string text = sourcesBelow(folder.path());
    for (std::sregex_iterator match(text.begin(), text.end(), kReference), end; match != end; ++match)
      referred.insert(match->str(1));
  }
  EXPECT_FALSE(referred.empty());
  for (const std::string& number : referred) EXPECT_TRUE(numbers.contains(number)) << "quirk " << number;
}

}  // namespace

}  // namespace fmp4
