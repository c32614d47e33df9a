// A report on a file: one page of HTML that can be printed and sent, without outside references.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/viewer/overview.h"

namespace fmp4 {

// What the report has beside the overview; texts of any characters.
struct ReportFacts {
  std::string name;  // of the file
  // Lines of "name: value".
  std::vector<std::string> description;
  std::vector<std::string> tracks;
  // Tracks and samples that are not read, and why.
  std::vector<std::string> notRead;
  // What `verify` says, its verdict first; none when the file belongs to no recording.
  std::optional<std::vector<std::string>> verification;
};

// Lists have their first 200 entries, and drawings 1600 columns, so that the page of a day is as large as
// that of an hour.
std::string reportPage(const ReportFacts& facts, const Overview& overview);

}  // namespace fmp4
