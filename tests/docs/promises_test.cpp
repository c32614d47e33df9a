// docs/promises.md names tests that exist, each in the program that it names.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <regex>

#include "tests/docs/document.h"

namespace fmp4 {

namespace {

std::string textOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The text of all sources of each test program.
std::map<std::string, std::string> sourcesByProgram() {
  static const std::regex kProgram(R"(vl_test\((\w+)\s([^)]*)\bLIBS\b)"), kSource(R"([\w./]+\.cpp)");
  std::map<std::string, std::string> sources;
  for (const auto& folder : std::filesystem::directory_iterator(kTree / "tests")) {
    const std::string listing = textOf(folder.path() / "CMakeLists.txt");
    for (std::sregex_iterator program(listing.begin(), listing.end(), kProgram), end; program != end;
         ++program) {
      const std::string files = program->str(2);
      for (std::sregex_iterator file(files.begin(), files.end(), kSource); file != end; ++file)
        sources[program->str(1)] += textOf(folder.path() / file->str());
    }
  }
  return sources;
}

// The rows of all tables: a promise, and what holds it.
std::vector<std::vector<std::string>> promises() {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : linesOfFile(kTree / "docs/promises.md"))
    if (std::vector<std::string> cells = cellsOf(line);
        cells.size() == 2 && cells[0] != "promise" && !cells[0].starts_with("---"))
      rows.push_back(std::move(cells));
  return rows;
}

TEST(PromisesDocument, NamesATestOfEachPromiseThatExists) {
  static const std::regex kHeld("`([^`]+)`"), kTest(R"((\w+): (\w+)\.(\w+))");
  const std::map<std::string, std::string> sources = sourcesByProgram();
  EXPECT_FALSE(promises().empty());
  for (const auto& promise : promises()) {
    const std::string& held = promise[1];
    std::sregex_iterator name(held.begin(), held.end(), kHeld), end;
    EXPECT_TRUE(name != end) << promise[0];
    for (; name != end; ++name) {
      const std::string entry = name->str(1);
      std::smatch test;
      if (!std::regex_match(entry, test, kTest)) {
        EXPECT_TRUE(std::filesystem::exists(kTree / entry)) << entry;
        continue;
      }
      const auto program = sources.find(test.str(1));
      ASSERT_NE(program, sources.end()) << entry;
      const std::string macro = '(' + test.str(2) + ", " + test.str(3) + ')';
      EXPECT_TRUE(program->second.find(macro) != std::string::npos) << entry;
    }
  }
}

}  // namespace

}  // namespace fmp4
