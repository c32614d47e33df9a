// The comparison of two pages of measurements.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/docs/document.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// What is worse in a page that has this row than in one that has that row.
RunResult compared(const std::string& before, const std::string& after) {
  const TempFolder folder;
  for (const auto& [name, row] : {std::pair("before.md", before), std::pair("after.md", after)}) {
    const std::string page =
        "| date | 2026-01-01 |\n\n| figure | measured | spread | target | |\n|---|---:|---:|---:|---|\n" +
        row + "\n\n- a note\n";
    writeFile(folder.file(name), {page.begin(), page.end()});
  }
  return run({(kTree / "scripts/compare_performance.sh").string(), folder.file("before.md"),
              folder.file("after.md")});
}

TEST(Performance, FiguresThatAreWorseByMoreThanTheSpreadOfBothRunsAreReported) {
  const RunResult time =
      compared("| time | 1.00 | 0.050 | <= 2 | met |", "| time | 1.20 | 0.100 | <= 2 | met |");
  EXPECT_EQ(time.exitCode, 1);
  EXPECT_EQ(time.out, "time: 1.20, was 1.00 (noise 0.155)\n");
  const RunResult rate =
      compared("| rate | 1.00 | 0.050 | >= 0.5 | met |", "| rate | 0.80 | 0.100 | >= 0.5 | met |");
  EXPECT_EQ(rate.exitCode, 1);
  EXPECT_EQ(rate.out, "rate: 0.80, was 1.00 (noise 0.155)\n");
}

TEST(Performance, FiguresWithinTheirSpreadAndBetterOnesAreNot) {
  for (const char* value : {"1.15", "0.10"}) {
    const std::string after = std::string("| time | ") + value + " | 0.100 | <= 2 | met |";
    const RunResult result = compared("| time | 1.00 | 0.050 | <= 2 | met |", after);
    EXPECT_EQ(result.exitCode, 0) << value;
    EXPECT_EQ(result.out, "") << value;
  }
}

TEST(Performance, FiguresWithoutASpreadMayVaryByATenth) {
  const std::string before = "| memory | 50.00 | - | <= 100 | met |";
  EXPECT_EQ(compared(before, "| memory | 55.00 | - | <= 100 | met |").exitCode, 0);
  EXPECT_EQ(compared(before, "| memory | 55.01 | 0.001 | <= 100 | met |").out,
            "memory: 55.01, was 50.00 (noise 5.005)\n");
}

TEST(Performance, NewFiguresAreNotCompared) {
  EXPECT_EQ(compared("| old | 1.00 | - | <= 2 | met |", "| new | 9.00 | - | <= 2 | MISSED |").exitCode, 0);
}

TEST(Performance, TheDocumentHasFiguresThatCanBeCompared) {
  int figures = 0;
  for (const std::string& line : linesOfFile(kTree / "docs/performance.md")) {
    const std::vector<std::string> cells = cellsOf(line);
    if (cells.size() == 5 && (cells[3].starts_with("<= ") || cells[3].starts_with(">= "))) ++figures;
  }
  EXPECT_GE(figures, 4);
}

}  // namespace

}  // namespace fmp4
